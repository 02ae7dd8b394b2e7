#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

namespace portal::brand {

// An information list as XML: texts, whole numbers, truth values, lists and dictionaries. Pure.
QByteArray propertyListText(const QVariantMap& list);

// The settings of a bundle with those of a brand in their place. Pure.
QVariantMap branded(QVariantMap bundle, const QVariantMap& brand);

// Puts a brand's settings, texts and pictures over the copy of a bundle. Throws std::runtime_error.
void putBrand(const QString& brand, const QString& bundle);

} // namespace portal::brand
