#include "tools/qn-portal/brand/NewBrand.h"

#include "tools/qn-portal/check/Settings.h"
#include "tools/qn-portal/common/OutputFile.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace portal::brand {

namespace {

using check::Setting;

std::string exampleOf(const Setting& setting, const std::string& name) {
    const std::string host = "https://" + name + ".example.com";
    const std::string environment(setting.environment);
    const std::string behind = environment.empty() || environment == "prod" ? "" : "-" + environment;
    switch (setting.kind) {
    case Setting::Kind::kConfigAddress:
        return host + "/installer" + behind + "/config.json";
    case Setting::Kind::kDataPath:
        return "/Library/Application Support/" + name + behind;
    case Setting::Kind::kColor:
        return setting.key == "BG_COLOR" ? "#FFFFFF" : setting.key == "PRIMARY_COLOR" ? "#1A1A1A" : "#57606A";
    case Setting::Kind::kLink:
        return host + "/help";
    case Setting::Kind::kText:
        return setting.key == "QNPortalType" ? name : name + behind;
    }
    return {};
}

std::string entry(const std::string& indent, std::string_view key, const std::string& comment,
                  const std::string& value) {
    return indent + "<!-- " + comment + " -->\n" + indent + "<key>" + std::string(key) + "</key>\n" + indent +
           "<string>" + value + "</string>\n";
}

std::string commentOf(const Setting& setting) {
    std::string comment(setting.meaning);
    comment.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(comment.front())));
    return comment + ". Missing: " + std::string(setting.without);
}

void write(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    OutputFile file(path.string());
    file.write(text);
    file.publish();
}

constexpr const char* kStrings =
    "/* Texts that replace the installer's own in this language: \"MessageRetry\" = \"…\"; */\n";

} // namespace

bool isBrandName(const std::string& name) {
    constexpr std::size_t kLongest = 40;
    const auto isAllowed = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') || letter == '-';
    };
    return !name.empty() && name.size() <= kLongest && name.front() >= 'a' && name.front() <= 'z' &&
           std::ranges::all_of(name, isAllowed);
}

std::string newSettings(const std::string& name) {
    const std::string tab = "\t";
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                       "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n<dict>\n";
    text += entry(tab, "CFBundleIdentifier",
                  "Who the program is: copies with one identifier are one application, and only one of them runs.",
                  "com.example." + name + ".installer");
    text += entry(tab, "QNEnv", "The environment: dev1, qa1, beta; anything else is production.", "prod");
    text += tab + "<key>QNConfig</key>\n" + tab + "<dict>\n";
    for (const Setting& setting : check::settings()) {
        text += entry(tab + tab, setting.key, commentOf(setting), exampleOf(setting, name));
    }
    return text + tab + "</dict>\n</dict>\n</plist>\n";
}

void makeBrand(const std::string& path, const std::string& name) {
    std::error_code error;
    if (!std::filesystem::create_directory(path, error)) {
        throw std::runtime_error(error ? path + " cannot be made: " + error.message() : path + " is there already");
    }
    try {
        write(path + "/Info.plist", newSettings(name));
        for (const std::string_view language : check::languages()) {
            write(path + "/" + std::string(language) + ".lproj/Localizable.strings", kStrings);
        }
        std::filesystem::create_directory(path + "/images");
    } catch (...) {
        std::filesystem::remove_all(path, error);
        throw;
    }
}

} // namespace portal::brand
