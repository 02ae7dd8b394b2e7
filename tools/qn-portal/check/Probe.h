#pragma once

#include "platform/UrlSession.h"
#include "platform/base/TransportError.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

// One request as the installer makes it (the same library, options, limits and rules for redirects), of which
// everything is kept that a check looks at.
namespace portal::check {

struct ProbeRequest {
    QString address; // one that checkAddress() let pass
    QString method = QString::fromLatin1("GET");
    std::vector<std::pair<QString, QString>> headers = {};
    QByteArray body = {};
    // Takes the pieces of the last answer's body; absent: they are kept in ProbeAnswer::body, up to the installer's
    // limit. False ends the transfer.
    std::function<bool(const char* bytes, std::size_t size)> sink = {};
    std::chrono::milliseconds limit = std::chrono::hours(24);
    std::chrono::milliseconds idle = TransferLimits().idle; // without a byte
};

struct ProbeHop {
    QString address;
    int status = 0;
    std::vector<std::pair<QByteArray, QByteArray>> headers; // as sent, in order

    // Of the first header of that name, in any case; absent when there is none.
    std::optional<QByteArray> header(const QByteArray& name) const;
};

struct ProbeAnswer {
    std::optional<TransportError> failure;
    std::vector<ProbeHop> hops; // those that were answered, the last one last
    QByteArray body;
    std::int64_t received = 0; // bytes of the last body, as they came over the wire
    double seconds = 0.0;
    QString refusedRedirect; // where a redirect led that may not be followed
};

// Blocks until the end.
ProbeAnswer probe(const ProbeRequest& request);

} // namespace portal::check
