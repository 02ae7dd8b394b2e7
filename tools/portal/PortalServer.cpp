#include "tools/portal/PortalServer.h"

#include "base/Descriptor.h"
#include "tools/portal/Content.h"

#include <httplib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

namespace portal {

namespace {

constexpr const char* kHost = "127.0.0.1";
constexpr int kOk = 200;
constexpr int kNotFound = 404;

class OpenFile {
public:
    explicit OpenFile(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

    bool isOpen() const { return static_cast<bool>(file_); }

    std::size_t size() const {
        struct stat status {};
        return fstat(file_.get(), &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
    }

    // Sends the next piece of at most a mebibyte.
    bool sendPiece(std::size_t offset, std::size_t length, httplib::DataSink& sink) const {
        constexpr std::size_t kPiece = std::size_t{1024} * 1024;
        std::vector<char> bytes(std::min(length, kPiece));
        const ssize_t count = pread(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        return count > 0 && sink.write(bytes.data(), static_cast<std::size_t>(count));
    }

private:
    base::Descriptor file_;
};

void requireReadable(const std::optional<std::string>& path) {
    if (path && !OpenFile(*path).isOpen()) {
        throw std::system_error(errno, std::generic_category(), *path);
    }
}

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string everythingFrom(const httplib::ContentReader& reader) {
    std::string body;
    reader([&](const char* bytes, std::size_t count) {
        body.append(bytes, count);
        return true;
    });
    return body;
}

double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void answer(httplib::Response& response, int status, const std::string& text, const char* type = "text/plain") {
    response.status = status;
    response.set_content(text, type);
}

} // namespace

PortalServer::PortalServer(const Options& options)
    : options_(options), record_(options.recordFile.value_or("")), server_(std::make_unique<httplib::Server>()) {
    requireReadable(options.configFile);
    requireReadable(options.imageFile);
    // Without the library's SO_REUSEPORT: two portals must not share a port and take each other's requests.
    server_->set_socket_options([](socket_t socket) {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    addRoutes();
    addCatchAll();
}

PortalServer::~PortalServer() = default;

int PortalServer::bind() {
    const int port = options_.port != 0 ? (server_->bind_to_port(kHost, options_.port) ? options_.port : -1)
                                        : server_->bind_to_any_port(kHost);
    base_ = std::string("http://") + kHost + ":" + std::to_string(port);
    return port;
}

void PortalServer::serve() {
    server_->listen_after_bind();
}

void PortalServer::waitUntilServing() const {
    // The library ignores a stop that comes before this.
    while (!server_->is_running()) {
        std::this_thread::yield();
    }
}

void PortalServer::stop() {
    server_->stop();
}

void PortalServer::addRoutes() {
    server_->Get(kConfigPath, [this](const httplib::Request& request, httplib::Response& response) {
        sendConfiguration(response);
        remember(request, {}, response.status);
    });
    server_->Get(kImagePath, [this](const httplib::Request& request, httplib::Response& response) {
        sendImage(response);
        remember(request, {}, response.status);
    });
    server_->Get(kPagePath, [this](const httplib::Request& request, httplib::Response& response) {
        answer(response, kOk, "<!DOCTYPE html><title>Download</title>", "text/html");
        remember(request, {}, response.status);
    });
    server_->Post(kAnalyticsPath, [this](const httplib::Request& request, httplib::Response& response,
                                         const httplib::ContentReader& reader) {
        answer(response, kOk, "thank you");
        remember(request, everythingFrom(reader), response.status);
    });
}

void PortalServer::addCatchAll() {
    const auto refuse = [this](const httplib::Request& request, httplib::Response& response) {
        answer(response, kNotFound, "the portal has nothing here");
        remember(request, {}, response.status);
    };
    server_->Get(".*", refuse);
    server_->Delete(".*", refuse);
    server_->Options(".*", refuse);
    const auto refuseBody = [this](const httplib::Request& request, httplib::Response& response,
                                   const httplib::ContentReader& reader) {
        answer(response, kNotFound, "the portal has nothing here");
        remember(request, everythingFrom(reader), response.status);
    };
    server_->Post(".*", refuseBody);
    server_->Put(".*", refuseBody);
    server_->Patch(".*", refuseBody);
}

void PortalServer::sendConfiguration(httplib::Response& response) const {
    const std::string text =
        options_.configFile ? filledIn(contentsOf(*options_.configFile), base_) : configuration(options_, base_);
    answer(response, kOk, text, "application/json");
}

void PortalServer::sendImage(httplib::Response& response) const {
    constexpr const char* kType = "application/x-apple-diskimage";
    if (options_.ending == Ending::kBadImage) {
        answer(response, kOk, garbageImage(), kType);
        return;
    }
    const auto file = options_.imageFile ? std::make_shared<OpenFile>(*options_.imageFile) : nullptr;
    if (options_.ending == Ending::kHttp404 || !file || !file->isOpen()) {
        answer(response, kNotFound, "no such image");
        return;
    }
    response.status = kOk;
    response.set_content_provider(file->size(), kType,
                                  [file](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                      return file->sendPiece(offset, length, sink);
                                  });
}

void PortalServer::remember(const httplib::Request& request, const std::string& body, int status) {
    RequestEntry entry{now(), request.method, request.target, {}, body, status};
    // What the library adds for its own use is not the client's.
    const std::array<std::string_view, 4> own{"REMOTE_ADDR", "REMOTE_PORT", "LOCAL_ADDR", "LOCAL_PORT"};
    for (const auto& [name, value] : request.headers) {
        if (std::find(own.begin(), own.end(), name) == own.end()) {
            entry.headers.emplace_back(name, value);
        }
    }
    record_.add(entry);
}

} // namespace portal
