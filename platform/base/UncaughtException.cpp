#include "platform/base/UncaughtException.h"

#include <atomic>
#include <cstdlib>
#include <exception>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

std::atomic<UncaughtExceptionHandler> installedHandler{nullptr};

// The handler may itself raise, and terminate() must then not call it again.
thread_local bool insideHandler = false;

// The exception in flight, whatever its type.
PlatformException inFlightAsOurs() {
    try {
        throw;
    } catch (const PlatformException& exception) {
        return exception;
    } catch (const std::exception& exception) {
        return {u"std::exception"_s, QString::fromUtf8(exception.what())};
    } catch (...) {
        return {u"unknown exception"_s, QString()};
    }
}

void lastNet() {
    const std::exception_ptr inFlight = std::current_exception();
    const UncaughtExceptionHandler handler = installedHandler;
    if (inFlight && handler && !insideHandler) {
        insideHandler = true;
        try {
            std::rethrow_exception(inFlight);
        } catch (...) {
            handler(inFlightAsOurs());
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
    } catch (...) {
        const UncaughtExceptionHandler handler = installedHandler;
        if (!handler || insideHandler) {
            throw;
        }
        insideHandler = true;
        handler(inFlightAsOurs());
        insideHandler = false;
    }
}

void installTerminateNet() {
    std::set_terminate(lastNet);
}

} // namespace platform
