#include "platform/base/TransportError.h"

using namespace Qt::StringLiterals;

QString TransportError::localizedDescription() const {
    if (!sentence.isEmpty()) {
        return sentence;
    }
    switch (code) {
    case kUnknown:
        return u"unknown error"_s;
    case kCancelled:
        return u"cancelled"_s;
    case kTimedOut:
        return u"The request timed out."_s;
    case kUnsupportedAddress:
        return u"unsupported URL"_s;
    case kCannotFindHost:
        return u"A server with the specified hostname could not be found."_s;
    case kCannotConnect:
        return u"Could not connect to the server."_s;
    case kConnectionLost:
        return u"The network connection was lost."_s;
    case kTooManyRedirects:
        return u"too many HTTP redirects"_s;
    case kNotConnected:
        return u"The Internet connection appears to be offline."_s;
    case kBadServerResponse:
        return u"There was a bad response from the server."_s;
    case kFileDoesNotExist:
        return u"The requested URL was not found on this server."_s;
    case kFileIsDirectory:
        return u"The requested URL is a directory."_s;
    case kNoPermissionToRead:
        return u"You do not have permission to access the requested resource."_s;
    case kDataLengthExceedsMaximum:
        return u"resource exceeds maximum size"_s;
    case kSecureConnectionFailed:
        return u"An SSL error has occurred and a secure connection to the server cannot be made."_s;
    case kUntrustedCertificate:
        return u"The certificate for this server is invalid."_s;
    case kCannotCreateFile:
        return u"The file for the download could not be created."_s;
    case kCannotWriteFile:
        return u"The download could not be written to disk."_s;
    }
    return u"The operation couldn’t be completed."_s;
}

QString TransportError::text() const {
    const QString address =
        failingAddress.isEmpty() ? QString() : u"NSErrorFailingURLStringKey="_s + failingAddress + u", "_s;
    return u"Error Domain="_s + (domain.isEmpty() ? u"NSURLErrorDomain"_s : domain) + u" Code="_s +
           QString::number(static_cast<int>(code)) + u" \""_s + localizedDescription() + u"\" UserInfo={"_s + address +
           u"NSLocalizedDescription="_s + localizedDescription() + u'}';
}
