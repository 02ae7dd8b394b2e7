#include "platform/base/UncaughtException.h"

#include <atomic>
#include <cstdlib>
#include <exception>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

std::atomic<UncaughtExceptionHandler> installedHandler{nullptr};

std::atomic<ExceptionTranslation> installedTranslation{nullptr};

// The handler may itself raise, and terminate() must then not call it again.
thread_local bool insideHandler = false;

// The exception in flight, whatever its type.
PlatformException inFlightAsOurs() {
    try {
        if (const ExceptionTranslation translate = installedTranslation) {
            translate([] { throw; });
        }
        throw;
    } catch (const PlatformException& exception) {
        return exception;
    } catch (const std::exception& exception) {
        return {u"std::exception"_s, QString::fromUtf8(exception.what())};
    } catch (...) {
        // Of a type that tells nothing.
    }
    return {u"unknown exception"_s, QString()};
}

// The one that was installed before ours: the C++ library's, on macOS the Objective-C runtime's.
std::terminate_handler systemsOwnNet = nullptr;

void lastNet() {
    const std::exception_ptr inFlight = std::current_exception();
    const UncaughtExceptionHandler handler = installedHandler;
    if (handler && !insideHandler) {
        insideHandler = true;
        try {
            if (inFlight) {
                std::rethrow_exception(inFlight);
            }
            // The C++ library itself gave up: its directories, for one, when they get no memory.
            throw PlatformException(u"std::terminate"_s, QString());
        } catch (...) {
            handler(inFlightAsOurs());
        }
    }
    if (systemsOwnNet) {
        systemsOwnNet(); // leaves the usual trace
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

void setExceptionTranslation(ExceptionTranslation translation) {
    installedTranslation = translation;
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
    const std::terminate_handler before = std::set_terminate(lastNet);
    systemsOwnNet = before == lastNet ? systemsOwnNet : before;
}

} // namespace platform
