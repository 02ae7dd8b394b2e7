#include "tools/qn-portal/serve/Box.h"

#include "base/Descriptor.h"
#include "base/Files.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/ImageError.h"
#include "tools/portal/Content.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace portal::serve {

namespace {

std::string contentsOf(const std::string& path) {
    if (std::filesystem::is_directory(path)) {
        throw std::system_error(EISDIR, std::generic_category(), path);
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

// It may be wrong in every way, on purpose; but something else is an oversight.
void requireText(const std::string& path) {
    const auto isNoise = [](unsigned char byte) { return byte > 0 && byte < 0x20 && (byte < '\b' || byte > '\r'); };
    if (std::ranges::any_of(contentsOf(path), isNoise)) {
        throw std::runtime_error(path + " is no configuration");
    }
}

// A damaged or encrypted one may be meant.
void requireImage(const std::string& path) {
    try {
        static_cast<void>(hdi::DiskImage::open(path));
    } catch (const hdi::ImageError& error) {
        if (error.kind() == hdi::ImageError::Kind::kNotRecognized || error.kind() == hdi::ImageError::Kind::kIo) {
            throw std::runtime_error(path + ": " + error.what());
        }
    }
}

// Changes whenever the file does.
std::string entityTag(const std::string& path) {
    struct stat facts {};
    ::stat(path.c_str(), &facts);
    return "\"" + std::to_string(facts.st_mtim.tv_sec) + "-" + std::to_string(facts.st_size) + "\"";
}

double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

loopback::Reply imageReply(const Options& options) {
    loopback::Reply reply;
    if (options.ending == Ending::kBadImage) {
        reply.body = garbageImage();
        reply.headers = {{"Content-Type", "application/x-apple-diskimage"}};
        return reply;
    }
    if (options.ending == Ending::kHttp404 || !options.imageFile || ::access(options.imageFile->c_str(), R_OK) != 0) {
        return loopback::replyWithStatus(404, "no such image");
    }
    reply.file = options.imageFile;
    reply.headers = {{"Content-Type", "application/x-apple-diskimage"},
                     {"Cache-Control", "public, max-age=3600"},
                     {"ETag", entityTag(*options.imageFile)}};
    return reply;
}

// "GET /path HTTP/1.1": the method and the target.
std::pair<std::string, std::string> partsOf(const std::string& line) {
    const std::size_t first = line.find(' ');
    const std::size_t second = line.find(' ', first + 1);
    return {line.substr(0, first), line.substr(first + 1, second - first - 1)};
}

} // namespace

Box::Box(const ServeOptions& options) : options_(options), record_(options.portal.recordFile.value_or("")) {
    if (options.portal.configFile) {
        requireText(*options.portal.configFile);
    }
    if (options_.portal.imageFile == "") {
        sample_ = std::make_unique<SampleImage>(options_.portal.ending == Ending::kTwoApps);
        options_.portal.imageFile = sample_->path();
    } else if (options_.portal.imageFile) {
        requireImage(*options_.portal.imageFile);
    }
    if (options.collectFile) {
        collector_ = std::make_unique<report::Collector>(*options.collectFile);
    }
    faults::FaultyServer::Options server;
    server.port = static_cast<std::uint16_t>(options.portal.port);
    server.hasTls = options.hasTls;
    server.faults = options.faults;
    server.latency = options.latency;
    server.bytesPerSecond = options.bytesPerSecond;
    server.good = [this](const std::string& base) { return good(base); };
    server.others = [this](const loopback::Request& request) { return page_.replyTo(request); };
    server.seen = [this](const loopback::Request& request, int status) { remember(request, status); };
    server_.emplace(std::move(server));
    writeAuthority();
}

faults::Answers Box::good(const std::string& base) const {
    const Options& options = options_.portal;
    faults::Answers answers;
    const std::string text =
        options.configFile ? filledIn(contentsOf(*options.configFile), base) : configuration(options, base);
    answers.configuration = loopback::replyWith(text, "application/json");
    answers.configuration.headers.emplace_back("Cache-Control", "max-age=60");
    answers.image = imageReply(options);
    answers.analytics = loopback::replyWith("thank you", "text/plain");
    answers.more[kPagePath] = loopback::replyWith("<!DOCTYPE html><title>Download</title>", "text/html");
    return answers;
}

void Box::remember(const loopback::Request& request, int status) {
    const auto [method, target] = partsOf(request.line);
    if (LivePage::isOwn(target)) {
        return; // the page asks several times a second
    }
    const RequestEntry entry{now(), method, target, request.headers, request.body, status};
    record_.add(entry);
    page_.add(entry);
    if (collector_ && target == faults::kAnalyticsPath && method == "POST" && !request.body.empty()) {
        try {
            static_cast<void>(collector_->addBody(request.body));
        } catch (const std::exception& error) {
            std::fprintf(stderr, "qn-portal serve: the analytics cannot be kept: %s\n", error.what());
            throw;
        }
    }
}

void Box::writeAuthority() {
    if (!options_.hasTls) {
        return;
    }
    authorityFile_ = options_.authorityFile.value_or("/tmp/qn-portal-authority-" + std::to_string(::getpid()) + ".pem");
    base::Descriptor file(::open(authorityFile_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!file || !base::writeAll(file.get(), server_->authority()) || !file.close()) {
        throw std::system_error(errno, std::generic_category(), authorityFile_);
    }
}

std::string Box::addressLine() const {
    const std::string& base = server_->base();
    nlohmann::json line{{"port", server_->port()},
                        {"config", server_->address(faults::Target::kConfiguration)},
                        {"image", server_->address(faults::Target::kImage)},
                        {"analytics", server_->address(faults::Target::kAnalytics)},
                        {"page", base + "/"}};
    if (options_.hasTls) {
        line["authority"] = authorityFile_;
    }
    return line.dump();
}

} // namespace portal::serve
