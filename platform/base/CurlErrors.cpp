#include "platform/base/CurlErrors.h"

#include <cerrno>

namespace {

// CURLE_TOO_LARGE, which libcurl has since 8.6.
constexpr auto kTooLarge = static_cast<CURLcode>(100);

bool meansNoRoute(long systemError) {
    return systemError == ENETUNREACH || systemError == EHOSTUNREACH || systemError == ENETDOWN;
}

} // namespace

namespace platform {

TransportError::Code transportErrorCode(CURLcode code, long systemError, bool hasRoute) {
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return TransportError::kUnsupportedAddress;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return hasRoute ? TransportError::kCannotFindHost : TransportError::kNotConnected;
    case CURLE_COULDNT_CONNECT:
        return meansNoRoute(systemError) ? TransportError::kNotConnected : TransportError::kCannotConnect;
    case CURLE_OPERATION_TIMEDOUT:
        return TransportError::kTimedOut;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return TransportError::kConnectionLost;
    case CURLE_TOO_MANY_REDIRECTS:
        return TransportError::kTooManyRedirects;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        return TransportError::kUntrustedCertificate;
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_USE_SSL_FAILED:
        return TransportError::kSecureConnectionFailed;
    case CURLE_OUT_OF_MEMORY: // of libcurl before 8.6, for a line of the head beyond its own limit
    case kTooLarge:
        return TransportError::kDataLengthExceedsMaximum;
    case CURLE_ABORTED_BY_CALLBACK:
        return TransportError::kCancelled;
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_UNSUPPORTED_PROTOCOL: // the scheme was judged before: here it is an answer without a status line
    case CURLE_WEIRD_SERVER_REPLY:
        return TransportError::kBadServerResponse;
    default:
        return TransportError::kUnknown;
    }
}

} // namespace platform
