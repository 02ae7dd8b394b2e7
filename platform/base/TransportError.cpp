#include "platform/base/TransportError.h"

QString TransportError::localizedDescription() const {
    switch (code) {
    case kUnknown:
        return QStringLiteral("unknown error");
    case kCancelled:
        return QStringLiteral("cancelled");
    case kTimedOut:
        return QStringLiteral("The request timed out.");
    case kUnsupportedAddress:
        return QStringLiteral("unsupported URL");
    case kCannotFindHost:
        return QStringLiteral("A server with the specified hostname could not be found.");
    case kCannotConnect:
        return QStringLiteral("Could not connect to the server.");
    case kConnectionLost:
        return QStringLiteral("The network connection was lost.");
    case kTooManyRedirects:
        return QStringLiteral("too many HTTP redirects");
    case kNotConnected:
        return QStringLiteral("The Internet connection appears to be offline.");
    case kBadServerResponse:
        return QStringLiteral("There was a bad response from the server.");
    case kFileDoesNotExist:
        return QStringLiteral("The requested URL was not found on this server.");
    case kFileIsDirectory:
        return QStringLiteral("The requested URL is a directory.");
    case kNoPermissionToRead:
        return QStringLiteral("You do not have permission to access the requested resource.");
    case kDataLengthExceedsMaximum:
        return QStringLiteral("resource exceeds maximum size");
    case kSecureConnectionFailed:
        return QStringLiteral("An SSL error has occurred and a secure connection to the server cannot be made.");
    case kUntrustedCertificate:
        return QStringLiteral("The certificate for this server is invalid.");
    case kCannotCreateFile:
        return QStringLiteral("The file for the download could not be created.");
    case kCannotWriteFile:
        return QStringLiteral("The download could not be written to disk.");
    }
    return QStringLiteral("The operation couldn’t be completed.");
}

QString TransportError::text() const {
    const QString address = failingAddress.isEmpty()
                                ? QString()
                                : QStringLiteral("NSErrorFailingURLStringKey=") + failingAddress + QStringLiteral(", ");
    return QStringLiteral("Error Domain=NSURLErrorDomain Code=") + QString::number(static_cast<int>(code)) +
           QStringLiteral(" \"") + localizedDescription() + QStringLiteral("\" UserInfo={") + address +
           QStringLiteral("NSLocalizedDescription=") + localizedDescription() + u'}';
}
