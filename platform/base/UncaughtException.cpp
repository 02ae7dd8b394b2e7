#include "platform/base/UncaughtException.h"

#include <atomic>
#include <cstdlib>
#include <exception>

namespace platform {

namespace {

std::atomic<UncaughtExceptionHandler> installedHandler{nullptr};

// The handler may itself raise, and terminate() must then not call it again.
thread_local bool insideHandler = false;

void lastNet() {
    const std::exception_ptr inFlight = std::current_exception();
    const UncaughtExceptionHandler handler = installedHandler;
    if (inFlight && handler && !insideHandler) {
        insideHandler = true;
        try {
            std::rethrow_exception(inFlight);
        } catch (const PlatformException& exception) {
            handler(exception);
        } catch (...) {
            // Not ours to report: abort() below leaves the usual trace.
        }
    }
    std::abort();
}

} // namespace

void setUncaughtExceptionHandler(UncaughtExceptionHandler handler) {
    installedHandler = handler;
}

UncaughtExceptionHandler uncaughtExceptionHandler() {
    return installedHandler;
}

void reportingUncaughtExceptions(const std::function<void()>& body) {
    try {
        body();
    } catch (const PlatformException& exception) {
        const UncaughtExceptionHandler handler = installedHandler;
        if (!handler || insideHandler) {
            throw;
        }
        insideHandler = true;
        handler(exception);
        insideHandler = false;
    }
}

void installTerminateNet() {
    std::set_terminate(lastNet);
}

} // namespace platform
