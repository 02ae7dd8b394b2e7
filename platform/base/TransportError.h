#pragma once

#include <QString>

// Why a transfer got no answer. An answer with an error status is no transport error.
//
// The codes are those of macOS's NSURLErrorDomain, as published in <Foundation/NSURLError.h>.
struct TransportError {
    // Another domain's codes are its own, and may be any number.
    enum Code : int {
        kUnknown = -1,
        kCancelled = -999,
        kTimedOut = -1001,
        kUnsupportedAddress = -1002,
        kCannotFindHost = -1003,
        kCannotConnect = -1004,
        kConnectionLost = -1005,
        kTooManyRedirects = -1007,
        kNotConnected = -1009,
        kBadServerResponse = -1011,
        kFileDoesNotExist = -1100,
        kFileIsDirectory = -1101,
        kNoPermissionToRead = -1102,
        kDataLengthExceedsMaximum = -1103,
        kSecureConnectionFailed = -1200,
        kUntrustedCertificate = -1202,
        kCannotCreateFile = -3000,
        kCannotWriteFile = -3003,
    };

    Code code = kTimedOut;
    QString failingAddress; // empty when there was no address
    QString domain = {};    // of the code; NSURLErrorDomain when it is empty
    QString sentence = {};  // the system's own; macOS's English one for the code when it is empty

    // The sentence, or macOS's English one for the code, such as "Could not connect to the server."
    QString localizedDescription() const;

    // Error Domain=NSURLErrorDomain Code=-1004 "Could not connect to the server." UserInfo={…}: what `%@` shows.
    // The keys are NSErrorFailingURLStringKey (left out when there was no address), then NSLocalizedDescription.
    QString text() const;
};
