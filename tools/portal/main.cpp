#include "tools/portal/Content.h"
#include "tools/portal/Options.h"
#include "tools/portal/PortalServer.h"

#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

namespace {

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

int serve(const portal::Options& options) {
    // Before any thread exists, so that the signals reach sigwait() and nobody else.
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    portal::PortalServer server(options);
    const int port = server.bind();
    if (port < 0) {
        std::fprintf(stderr, "portal: port %d of 127.0.0.1 cannot be used\n", options.port);
        return kFailed;
    }
    std::thread worker([&] { server.serve(); });
    server.waitUntilServing();
    std::printf("%s\n", portal::addressLine(port).c_str());
    std::fflush(stdout);
    int signal = 0;
    sigwait(&signals, &signal);
    server.stop();
    worker.join();
    return 0;
}

} // namespace

int main(int argc, char** argv) try {
    const auto parsed = portal::parseOptions({argv + 1, argv + argc});
    if (std::holds_alternative<portal::HelpWanted>(parsed)) {
        std::fputs(portal::helpText().c_str(), stdout);
        return 0;
    }
    if (const auto* const refusal = std::get_if<portal::Refusal>(&parsed)) {
        std::fprintf(stderr, "portal: %s; see portal --help\n", refusal->reason.c_str());
        return kWrongCommandLine;
    }
    return serve(std::get<portal::Options>(parsed));
} catch (const std::exception& error) {
    std::fprintf(stderr, "portal: %s\n", error.what());
    return kFailed;
}
