#pragma once

#include <QByteArray>
#include <QVariantMap>

namespace platform {

// "NAME/VERSION" from a bundle's Info.plist: CFBundleName, else CFBundleExecutable, and CFBundleShortVersionString;
// characters that a header's token may not hold are escaped. A missing version leaves the name alone.
QByteArray userAgent(const QVariantMap& infoDictionary);

} // namespace platform
