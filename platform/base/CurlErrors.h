#pragma once

#include "platform/base/TransportError.h"

#include <curl/curl.h>

namespace platform {

// What a failure of libcurl (its manual page libcurl-errors(3)) is called on macOS.
//
// `systemError` is the errno of a failed connection, 0 when there is none; `hasRoute` tells whether a default route
// exists. Not for CURLE_OK, nor for failures that this program caused itself: a limit that passed or a sink that
// refused is known before libcurl reports it.
TransportError::Code transportErrorCode(CURLcode code, long systemError, bool hasRoute);

} // namespace platform
