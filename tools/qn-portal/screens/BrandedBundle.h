#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

namespace portal::screens {

// An information list as XML: texts, whole numbers, truth values, lists and dictionaries. Pure.
QByteArray propertyListText(const QVariantMap& list);

// The information of a bundle with a brand's in its place; its name and the scheme of its addresses follow from that.
// Pure.
QVariantMap branded(QVariantMap bundle, const QVariantMap& brand);

// Puts a brand's settings, texts, pictures (SVG, which need rsvg-convert) and fonts over the copy of a bundle, as
// ./release does. Throws std::runtime_error.
void putBrand(const QString& brand, const QString& bundle);

} // namespace portal::screens
