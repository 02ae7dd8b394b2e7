#include "tools/qn-portal/serve/ServeVerb.h"

#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/serve/Box.h"
#include "tools/qn-portal/serve/ServeOptions.h"

#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <exception>

namespace portal {

namespace {

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGHUP);
    return signals;
}

int serveUntilSignal(const serve::ServeOptions& options) try {
    // Before any thread exists, so that the signals reach sigwait() and nobody else.
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    const serve::Box box(options);
    std::printf("%s\n", box.addressLine().c_str());
    std::fflush(stdout);
    int signal = 0;
    sigwait(&signals, &signal);
    return kGood;
} catch (const std::exception& error) {
    std::fprintf(stderr, "qn-portal serve: %s\n", error.what());
    return kCannotDo;
}

} // namespace

int runServe(std::span<const std::string> arguments) {
    const auto parsed = serve::parseServeOptions(arguments);
    if (std::holds_alternative<HelpWanted>(parsed)) {
        std::fputs(serve::serveHelp().c_str(), stdout);
        return kGood;
    }
    if (std::holds_alternative<serve::ListWanted>(parsed)) {
        std::fputs(serve::faultList().c_str(), stdout);
        return kGood;
    }
    if (const auto* const refusal = std::get_if<Refusal>(&parsed)) {
        std::fprintf(stderr, "qn-portal serve: %s; see qn-portal serve --help\n", refusal->reason.c_str());
        return kCannotDo;
    }
    return serveUntilSignal(std::get<serve::ServeOptions>(parsed));
}

} // namespace portal
