#include "tools/qn-portal/check/BundleInfo.h"

#include "platform/Bundle.h"
#include "tools/qn-portal/check/JsonScan.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace portal::check {

BundleInfo::BundleInfo(const QString& path) : path_(path) {
    if (const auto bundle = Bundle::bundleWithPath(path)) {
        top_ = bundle->infoDictionary();
    }
    QFile file(path + u"/Contents/Info.plist"_s);
    if (file.open(QIODevice::ReadOnly)) {
        text_ = QString::fromUtf8(file.readAll());
    }
}

Place BundleInfo::place(const QString& key) const {
    Place place{path_ + u"/Contents/Info.plist"_s, 0, 0, key, {}};
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
