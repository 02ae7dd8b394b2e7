#pragma once
#include <AvailabilityMacros.h>
#define __MAC_10_15 101500
#define __MAC_11_0 110000
#define __MAC_12_0 120000
#define __MAC_13_0 130000
#define __MAC_OS_X_VERSION_MIN_REQUIRED MAC_OS_X_VERSION_MIN_REQUIRED
#define __MAC_OS_X_VERSION_MAX_ALLOWED MAC_OS_X_VERSION_MAX_ALLOWED

// In which version of macOS a declaration came, and since which it is deprecated: clang tells for the deployment
// target.
#define API_AVAILABLE_MACOS(v) __attribute__((availability(macos, introduced = v)))
#define API_DEPRECATED_MACOS(why, from, to)                                                                            \
    __attribute__((availability(macos, introduced = from, deprecated = to, message = why)))
