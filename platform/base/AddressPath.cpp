#include "platform/base/AddressPath.h"

#include "platform/base/TextDecoding.h"

using namespace Qt::StringLiterals;

namespace AddressPath {

QString pathOf(const QString& address) {
    QString rest = address.section(u'#', 0, 0).section(u'?', 0, 0);
    const qsizetype colon = rest.indexOf(u':');
    const qsizetype slash = rest.indexOf(u'/');
    if (colon > 0 && (slash < 0 || colon < slash)) {
        rest = rest.mid(colon + 1);
    }
    if (!rest.startsWith(u"//"_s)) {
        return rest;
    }
    const qsizetype start = rest.indexOf(u'/', 2);
    return start < 0 ? QString() : rest.mid(start);
}

QByteArray decodedPathOf(const QString& address) {
    return QByteArray::fromPercentEncoding(pathOf(address).toUtf8());
}

QString lastComponentOf(const QString& address) {
    QString path = pathOf(address);
    while (path.endsWith(u'/')) {
        path.chop(1);
    }
    return platform::decodeSystemText(QByteArray::fromPercentEncoding(path.section(u'/', -1).toUtf8()));
}

} // namespace AddressPath
