#include "tools/qn-portal/check/BundleInfo.h"

#include "platform/Bundle.h"
#include "platform/base/PropertyList.h"
#include "tools/qn-portal/check/JsonScan.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace portal::check {

BundleInfo::BundleInfo(const QString& path, bool isBrand)
    : path_(path), isBrand_(isBrand), file_(path + (isBrand ? u"/Info.plist"_s : u"/Contents/Info.plist"_s)) {
    QFile file(file_);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    text_ = QString::fromUtf8(bytes);
    if (isBrand) {
        top_ = PropertyList::parse(bytes).value_or(QVariant()).toMap();
    } else if (const auto bundle = Bundle::bundleWithPath(path)) {
        top_ = bundle->infoDictionary();
    }
}

Place BundleInfo::place(const QString& key) const {
    Place place{file_, 0, 0, key, {}};
    const qsizetype at = key.isEmpty() ? -1 : text_.indexOf(u"<key>%1</key>"_s.arg(key.toHtmlEscaped()));
    if (at >= 0) {
        const TextPlace found = placeIn(text_, at + 5);
        place.line = found.line;
        place.column = found.column;
        place.excerpt = found.excerpt;
    }
    return place;
}

} // namespace portal::check
