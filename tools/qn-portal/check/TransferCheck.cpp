#include "tools/qn-portal/check/TransferCheck.h"

#include "platform/base/SuggestedFilename.h"
#include "tools/qn-portal/check/TlsCheck.h"

#include <QFile>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <array>
#include <span>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr qsizetype kManyRedirects = 2;
constexpr int kLongestConfigAge = 300; // seconds

QString seconds(double value) {
    return QString::number(value, 'f', 1);
}

QString valueOf(const ProbeHop& hop, const QByteArray& header) {
    return QString::fromUtf8(hop.header(header).value_or(QByteArray()));
}

// Without the parameters.
QString mediaType(const ProbeHop& hop) {
    return valueOf(hop, "Content-Type").section(u';', 0, 0).trimmed().toLower();
}

std::optional<int> maxAge(const QString& cacheControl) {
    static const QRegularExpression kAge(u"max-age\\s*=\\s*\"?(\\d+)"_s, QRegularExpression::CaseInsensitiveOption);
    const auto match = kAge.match(cacheControl);
    return match.hasMatch() ? std::optional(match.captured(1).toInt()) : std::nullopt;
}

bool isKnownEncoding(const QString& encoding) {
    static constexpr std::array kKnown{u"", u"identity", u"gzip", u"x-gzip", u"deflate", u"br"};
    return std::ranges::any_of(kKnown, [&](const char16_t* known) { return encoding == QStringView(known); });
}

QString serverOf(const QString& address) {
    const QUrl url(address);
    return url.scheme() == u"https" ? u"%1:%2"_s.arg(url.host()).arg(url.port(443)) : QString();
}

} // namespace

bool TransferCheck::hasTlsError(const QString& address) const {
    return brokenServers_.contains(serverOf(address));
}

void TransferCheck::judgeTls(const Place& place, const QString& address) {
    const QString server = serverOf(address);
    if (server.isEmpty() || !knownServers_.insert(server).second) {
        return;
    }
    const QUrl url(address);
    const TlsResult result = probeTls(url.host(), static_cast<quint16>(url.port(443)));
    if (!check::judgeTls(findings_, place, url.host(), result, QDateTime::currentDateTimeUtc())) {
        brokenServers_.insert(server);
    }
}

// What is common to all transfers. False when the installer would have got nothing.
bool TransferCheck::judgeTransfer(const Place& place, const QString& address, const ProbeAnswer& answer) {
    judgeTls(place, address);
    for (const ProbeHop& hop : answer.hops) {
        judgeTls(place, hop.address);
    }
    const qsizetype redirects = static_cast<qsizetype>(answer.hops.size()) - 1;
    if (!answer.failure) {
        if (redirects > kManyRedirects) {
            findings_.add("transfer-redirects", place, {QString::number(redirects), answer.hops.back().address});
        }
        return true;
    }
    const QString reached = answer.failure->failingAddress;
    const qint64 promised = answer.hops.empty() ? 0 : valueOf(answer.hops.back(), "Content-Length").toLongLong();
    if (hasTlsError(reached)) {
        return false; // told already
    }
    const QString encoding =
        answer.hops.empty() ? QString() : valueOf(answer.hops.back(), "Content-Encoding").toLower();
    if (!isKnownEncoding(encoding)) {
        findings_.add("transfer-encoding", place, {encoding});
    } else if (!answer.refusedRedirect.isEmpty()) {
        findings_.add("transfer-redirect-to-http", place, {answer.refusedRedirect});
    } else if (answer.failure->code == TransportError::kDataLengthExceedsMaximum && !answer.hops.empty()) {
        constexpr std::int64_t kMebibyte = 1048576;
        constexpr std::int64_t kMost = TransferLimits().data;
        findings_.add("config-too-large", place, {QString::number(kMost / kMebibyte)});
    } else if (answer.failure->code == TransportError::kTooManyRedirects) {
        findings_.add("transfer-redirect-loop", place, {reached});
    } else if (answer.failure->code == TransportError::kConnectionLost && promised > answer.received) {
        findings_.add("transfer-length", place, {QString::number(promised), QString::number(answer.received)});
    } else {
        findings_.add("transfer-failed", place, {QUrl(reached).host(), answer.failure->localizedDescription()});
    }
    return false;
}

void TransferCheck::judgeHeaders(const Place& place, const ProbeHop& hop) {
    if (const QString encoding = valueOf(hop, "Content-Encoding").toLower(); !isKnownEncoding(encoding)) {
        findings_.add("transfer-encoding", place, {encoding});
    }
    if (hop.header("Set-Cookie")) {
        findings_.add("transfer-cookie", place);
    }
    for (const QString& item : valueOf(hop, "Vary").toLower().split(u',', Qt::SkipEmptyParts)) {
        const QString name = item.trimmed();
        if (name != u"accept-encoding" && name != u"locale" && name != u"country" && name != u"appname") {
            findings_.add("transfer-vary", place, {name});
        }
    }
}

void TransferCheck::judgeConfigurationHeaders(const Place& place, const ProbeHop& hop) {
    judgeHeaders(place, hop);
    if (hop.status != 200) {
        findings_.add("transfer-config-status", place, {QString::number(hop.status)});
    }
    const QString type = mediaType(hop);
    if (type != u"application/json" && !type.endsWith(u"+json")) {
        findings_.add("transfer-config-type", place, {type});
    }
    const QString caching = valueOf(hop, "Cache-Control").toLower();
    if (caching.isEmpty()) {
        findings_.add("transfer-config-cache-unsaid", place);
    } else if (maxAge(caching).value_or(0) > kLongestConfigAge) {
        findings_.add("transfer-config-cached", place, {QString::number(*maxAge(caching))});
    }
}

std::optional<QByteArray> TransferCheck::configuration(const QString& address,
                                                       const std::vector<std::pair<QString, QString>>& headers) {
    const Place place{address, 0, 0, {}, {}};
    ProbeRequest request{address};
    request.idle = patience_.idle;
    request.headers = headers;
    const ProbeAnswer answer = probe(request);
    if (!judgeTransfer(place, address, answer)) {
        return std::nullopt;
    }
    judgeConfigurationHeaders(place, answer.hops.back());
    vary_ = answer.hops.back().header("Vary").value_or(QByteArray()).toLower();
    if (std::chrono::duration<double>(answer.seconds) > patience_.configuration) {
        findings_.add("transfer-slow", place, {u"The configuration"_s, seconds(answer.seconds)});
    }
    return answer.body;
}

std::optional<QByteArray>
TransferCheck::configurationAgain(const QString& address,
                                  const std::vector<std::pair<QString, QString>>& headers) const {
    ProbeRequest request{address};
    request.idle = patience_.idle;
    request.headers = headers;
    const ProbeAnswer answer = probe(request);
    return answer.failure ? std::nullopt : std::optional(answer.body);
}

bool TransferCheck::compare(const QString& address, const QString& locale, const QByteArray& document,
                            const QString& otherLocale, const QByteArray& other) {
    if (other == document) {
        return true;
    }
    const Place place{address, 0, 0, {}, {}};
    if (vary_.contains("locale") || vary_.contains('*')) {
        findings_.add("config-differs", place, {otherLocale, locale});
    } else {
        findings_.add("transfer-missing-vary", place, {u"locale"_s});
    }
    return false;
}

void TransferCheck::judgeImageHeaders(const ConfigAddress& address, const ProbeHop& hop) {
    judgeHeaders(address.place, hop);
    const QString encoding = valueOf(hop, "Content-Encoding").toLower();
    if (!encoding.isEmpty() && encoding != u"identity" && isKnownEncoding(encoding)) {
        findings_.add("transfer-image-encoded", address.place, {encoding});
    } else if (!hop.header("Content-Length")) {
        findings_.add("transfer-no-length", address.place);
    }
    const QString type = mediaType(hop);
    if (type != u"application/x-apple-diskimage" && type != u"application/octet-stream") {
        findings_.add("transfer-image-type", address.place, {type});
    }
    const QString caching = valueOf(hop, "Cache-Control").toLower();
    if (caching.contains(u"no-store") || caching.contains(u"private") || caching.contains(u"no-cache")) {
        findings_.add("transfer-image-uncacheable", address.place, {caching});
    }
    if (!hop.header("ETag") && !hop.header("Last-Modified")) {
        findings_.add("transfer-image-unlabelled", address.place);
    }
    const QString meant = QUrl(hop.address).fileName();
    const QString saved =
        SuggestedFilename::of(hop.header("Content-Disposition"), hop.address, valueOf(hop, "Content-Type"));
    if (saved != meant) {
        findings_.add("transfer-name-changed", address.place, {saved, meant});
    }
}

bool TransferCheck::image(const ConfigAddress& address, const QString& file, hdi::PieceSums& sums) {
    QFile into(file);
    if (!into.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        throw std::runtime_error("cannot write " + file.toStdString());
    }
    ProbeRequest request{address.text};
    request.idle = patience_.idle;
    bool isWritten = true;
    request.sink = [&](const char* bytes, std::size_t size) {
        sums.add(std::as_bytes(std::span(bytes, size)));
        isWritten = into.write(bytes, static_cast<qint64>(size)) == static_cast<qint64>(size);
        return isWritten;
    };
    const ProbeAnswer answer = probe(request);
    if (!isWritten || !into.flush()) {
        throw std::runtime_error("cannot write " + file.toStdString() + ": " + into.errorString().toStdString());
    }
    if (!judgeTransfer(address.place, address.text, answer)) {
        return false;
    }
    const ProbeHop& hop = answer.hops.back();
    if (hop.status != 200) {
        findings_.add("transfer-image-status", address.place, {QString::number(hop.status)});
        return false;
    }
    judgeImageHeaders(address, hop);
    return isKnownEncoding(valueOf(hop, "Content-Encoding").toLower());
}

void TransferCheck::analytics(const ConfigAddress& address) {
    ProbeRequest request{address.text};
    request.method = u"POST"_s;
    request.headers = {{u"Content-Type"_s, u"application/x-www-form-urlencoded"_s}};
    request.limit = patience_.analyticsLimit;
    const ProbeAnswer answer = probe(request);
    judgeTls(address.place, address.text);
    if (hasTlsError(address.text)) {
        return;
    }
    if (answer.hops.size() > 1 && answer.hops.front().status != 307 && answer.hops.front().status != 308) {
        findings_.add("analytics-redirects", address.place,
                      {answer.hops[1].address, QString::number(answer.hops.front().status)});
    } else if (answer.failure && answer.failure->code == TransportError::kTimedOut) {
        findings_.add("analytics-slow", address.place, {u"more than "_s + seconds(answer.seconds)});
    } else if (answer.failure) {
        findings_.add("analytics-unreachable", address.place, {answer.failure->localizedDescription()});
    } else if (answer.hops.back().status >= 300) {
        findings_.add("analytics-refused", address.place, {QString::number(answer.hops.back().status)});
    } else if (std::chrono::duration<double>(answer.seconds) > patience_.analytics) {
        findings_.add("analytics-slow", address.place, {seconds(answer.seconds)});
    }
}

void TransferCheck::page(const Place& place, const QString& address, std::string_view code) {
    ProbeRequest request{address};
    request.idle = patience_.idle;
    request.limit = std::chrono::seconds(15);
    const ProbeAnswer answer = probe(request);
    if (answer.failure) {
        findings_.add(code, place, {address, answer.failure->localizedDescription()});
    } else if (answer.hops.back().status >= 400) {
        findings_.add(code, place, {address, u"status %1"_s.arg(answer.hops.back().status)});
    }
}

} // namespace portal::check
