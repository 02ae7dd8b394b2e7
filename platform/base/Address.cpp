#include "platform/base/Address.h"

using namespace Qt::StringLiterals;

namespace {

bool isLetterOrDigit(QChar unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

bool isHexDigit(QChar unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'F') || (unit >= u'a' && unit <= u'f');
}

bool isAllowed(QChar unit) {
    return isLetterOrDigit(unit) || u"-._~!$&'()*+,/:;=?@[]"_s.contains(unit);
}

bool isWellFormed(const QString& text) {
    qsizetype hashes = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (text[at] == u'#') {
            if (++hashes > 1) {
                return false;
            }
        } else if (text[at] == u'%') {
            if (at + 2 >= text.size() || !isHexDigit(text[at + 1]) || !isHexDigit(text[at + 2])) {
                return false;
            }
        } else if (!isAllowed(text[at])) {
            return false;
        }
    }
    return !text.isEmpty();
}

// Length of the scheme in front of the first colon; 0 when the text has none.
qsizetype schemeLength(const QString& text) {
    const qsizetype colon = text.indexOf(u':');
    if (colon <= 0 || !isLetterOrDigit(text[0]) || text[0].isDigit()) {
        return 0;
    }
    for (qsizetype at = 1; at < colon; ++at) {
        if (!isLetterOrDigit(text[at]) && text[at] != u'+' && text[at] != u'-' && text[at] != u'.') {
            return 0;
        }
    }
    return colon;
}

// The host of an authority: what stands behind the user information and before the port, without brackets.
QString hostOf(const QString& authority) {
    const QString server = authority.mid(authority.lastIndexOf(u'@') + 1);
    if (server.startsWith(u'[')) {
        const qsizetype bracket = server.indexOf(u']');
        return bracket < 0 ? server.mid(1) : server.mid(1, bracket - 1);
    }
    return server.left(server.indexOf(u':') < 0 ? server.size() : server.indexOf(u':'));
}

qsizetype endOfAuthority(const QString& text, qsizetype from) {
    for (qsizetype at = from; at < text.size(); ++at) {
        if (text[at] == u'/' || text[at] == u'?' || text[at] == u'#') {
            return at;
        }
    }
    return text.size();
}

} // namespace

std::optional<Address> Address::parse(const QString& text) {
    if (!isWellFormed(text)) {
        return std::nullopt;
    }
    Address address{text, std::nullopt, std::nullopt};
    qsizetype rest = schemeLength(text);
    if (rest > 0) {
        address.scheme = text.left(rest);
        ++rest;
    }
    if (text.mid(rest, 2) == u"//"_s) {
        const qsizetype start = rest + 2;
        const QString authority = text.mid(start, endOfAuthority(text, start) - start);
        if (!authority.isEmpty()) {
            address.host = hostOf(authority);
        }
    }
    return address;
}
