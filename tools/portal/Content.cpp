#include "tools/portal/Content.h"

#include <nlohmann/json.hpp>

#include <cstdint>

namespace portal {

namespace {

using Json = nlohmann::json;

Json linkAction(const Options& options, const std::string& base) {
    Json action{{"action", "openLink"},
                {"isActive", "1"},
                {"actionUrl", options.link.value_or(base + kPagePath)},
                {"actionDescription", "Opens the download page"}};
    if (options.autoOpen) {
        action["customParam"] = "autoOpen";
    }
    return action;
}

Json installAction() {
    return {{"action", "install"}, {"isActive", "1"}, {"actionUrl", ""}, {"actionDescription", "Installs"}};
}

Json software(const Options& options, const std::string& base) {
    return {{"IsActive", "1"},
            {"macUrl", base + kImagePath},
            {"winUrl", base + "/download/Installer.exe"},
            {"appName", options.appName},
            {"appShortName", options.appName},
            {"commandLineArgs", options.commandLineArgs}};
}

} // namespace

std::string configuration(const Options& options, const std::string& base) {
    if (options.ending == Ending::kConfigError) {
        return "<!DOCTYPE html><title>Down for maintenance</title>\n";
    }
    Json document{{"analyticsUrl", base + kAnalyticsPath}};
    if (options.ending == Ending::kOpenLink) {
        document["userAction"] = Json::array({linkAction(options, base)});
    } else {
        document["userAction"] = Json::array({installAction()});
        document["software"] = Json::array({software(options, base)});
    }
    constexpr int kIndent = 2;
    // A name from the command line need not be UTF-8.
    return document.dump(kIndent, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string filledIn(std::string text, const std::string& base) {
    const std::string_view mark = "@PORTAL@";
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += base.size()) {
        text.replace(at, mark.size(), base);
    }
    return text;
}

std::string addressLine(int port) {
    const std::string base = "http://127.0.0.1:" + std::to_string(port);
    return Json{{"port", port},
                {"config", base + kConfigPath},
                {"image", base + kImagePath},
                {"analytics", base + kAnalyticsPath}}
        .dump();
}

std::string garbageImage() {
    constexpr std::size_t kSize = 65536;
    std::string bytes(kSize, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

} // namespace portal
