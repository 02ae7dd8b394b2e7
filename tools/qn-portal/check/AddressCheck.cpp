#include "tools/qn-portal/check/AddressCheck.h"

#include "platform/base/Address.h"
#include "platform/base/PathText.h"

#include <QHostAddress>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

// What of the text the rules of Address.h refuse, in words.
QString culprit(const QString& text) {
    for (const QChar unit : text) {
        if (unit == u' ') {
            return u"a blank is not allowed in it"_s;
        }
        if (unit < u' ') {
            return u"a control character is not allowed in it"_s;
        }
        if (unit > u'~') {
            return u"%1 is not allowed in it"_s.arg(unit);
        }
        if (u"\"<>\\^`{|}"_s.contains(unit)) {
            return u"%1 is not allowed in it"_s.arg(unit);
        }
    }
    return text.count(u'#') > 1 ? u"it has more than one #"_s : u"a % must be followed by two hexadecimal digits"_s;
}

QString authorityOf(const QString& text) {
    const qsizetype begin = text.indexOf(u"//") + 2;
    qsizetype end = begin;
    while (end < text.size() && !u"/?#"_s.contains(text[end])) {
        ++end;
    }
    return text.sliced(begin, end - begin);
}

// Behind the host's last colon; empty when there is none.
QString portOf(const QString& authority) {
    const QString server = authority.mid(authority.lastIndexOf(u'@') + 1);
    const qsizetype colon = server.indexOf(u':', server.indexOf(u']') + 1);
    return colon < 0 ? QString() : server.mid(colon + 1);
}

bool isPort(const QString& port) {
    bool isNumber = false;
    const int number = port.toInt(&isNumber);
    return isNumber && number >= 1 && number <= 65535;
}

// As the ninth detail, where the texts of the address rules have it.
QStringList withConsequence(QStringList details, AddressUse use) {
    static constexpr qsizetype kBefore = 8;
    while (details.size() < kBefore) {
        details += QString();
    }
    switch (use) {
    case AddressUse::kConfiguration:
    case AddressUse::kImage:
        return details << u"The screen \"Installation failed\"; the log says Code=-1002 \"unsupported URL\"."_s;
    case AddressUse::kAnalytics:
        return details << u"Nothing. The lines are lost; the log says \"Analytics send error\"."_s;
    case AddressUse::kLink:
        return details << u"A link or a button that opens nothing."_s;
    }
    return details;
}

// Things that are wrong beside the rules of the text itself.
void checkServer(Findings& findings, const Place& place, const Address& address, bool mayBeLocal) {
    if (authorityOf(address.text).contains(u'@')) {
        findings.add("address-password", place);
    }
    if (address.text.contains(u'#')) {
        findings.add("address-fragment", place);
    }
    if (!mayBeLocal && isLocalHost(*address.host)) {
        findings.add("address-this-network", place, {*address.host});
    }
}

} // namespace

bool isLocalHost(const QString& host) {
    const QHostAddress address(host);
    if (!address.isNull()) {
        const auto isIn = [&](const QString& subnet) { return address.isInSubnet(QHostAddress::parseSubnet(subnet)); };
        return address.isLoopback() || address.isLinkLocal() || address.isUniqueLocalUnicast() ||
               isIn(u"10.0.0.0/8"_s) || isIn(u"172.16.0.0/12"_s) || isIn(u"192.168.0.0/16"_s) ||
               address == QHostAddress(QHostAddress::AnyIPv4);
    }
    const QString name = host.toLower();
    const bool hasOwnEnding = name.endsWith(u".local") || name.endsWith(u".localhost") || name.endsWith(u".internal") ||
                              name.endsWith(u".lan");
    return !name.contains(u'.') || hasOwnEnding;
}

bool checkAddress(Findings& findings, const Place& place, const QString& text, AddressUse use, bool mayBeLocal) {
    const auto address = Address::parse(text);
    const QString scheme = address ? address->scheme.value_or(QString()).toLower() : QString();
    const auto refuse = [&](std::string_view code, const QStringList& details) {
        findings.add(code, place, withConsequence(details, use));
        return false;
    };
    if (!address) {
        return refuse("address-malformed",
                      {text, text.isEmpty() ? u"it is empty"_s : culprit(text), PathText::percentEscaped(text)});
    }
    if (scheme.isEmpty() || (scheme.contains(u'.') && !address->host)) { // "www.example.com:80" has a "scheme"
        return refuse("address-no-scheme", {text});
    }
    if (scheme == u"file") {
        return refuse("address-file", {text});
    }
    if (scheme != u"http" && scheme != u"https") {
        return refuse("address-scheme", {scheme});
    }
    if (!address->host || address->host->isEmpty()) {
        return refuse("address-no-host", {text});
    }
    if (const QString port = portOf(authorityOf(text)); !port.isEmpty() && !isPort(port)) {
        return refuse("address-port", {port});
    }
    if (scheme == u"http" && !(mayBeLocal && isLocalHost(*address->host))) {
        findings.add("address-without-tls", place, {*address->host});
    }
    checkServer(findings, place, *address, mayBeLocal);
    return true;
}

} // namespace portal::check
