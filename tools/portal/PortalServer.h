#pragma once

#include "tools/portal/Options.h"
#include "tools/portal/Record.h"

#include <memory>
#include <string>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace portal {

// Serves one ending on 127.0.0.1 and records every request before it answers.
//
// Threads: the library's; start() and stop() belong to the owner.
class PortalServer {
public:
    // Throws std::system_error when the record, the configuration file or the image cannot be opened.
    explicit PortalServer(const Options& options);
    ~PortalServer();
    PortalServer(const PortalServer&) = delete;
    PortalServer& operator=(const PortalServer&) = delete;

    // The port that was taken; -1 when it cannot be had.
    int bind();
    // Blocks until stop().
    void serve();
    // Waits until serve(), on another thread, can be stopped.
    void waitUntilServing() const;
    void stop();

private:
    void addRoutes();
    void addCatchAll();
    void sendConfiguration(httplib::Response& response) const;
    void sendImage(httplib::Response& response) const;
    void remember(const httplib::Request& request, const std::string& body, int status);

    Options options_;
    Record record_;
    std::string base_;
    std::unique_ptr<httplib::Server> server_;
};

} // namespace portal
