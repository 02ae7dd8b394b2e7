#include "platform/base/UserAgent.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace platform {

QByteArray userAgent(const QVariantMap& infoDictionary) {
    QString name = infoDictionary.value(u"CFBundleName"_s).toString();
    if (name.isEmpty()) {
        name = infoDictionary.value(u"CFBundleExecutable"_s).toString();
    }
    const QString version = infoDictionary.value(u"CFBundleShortVersionString"_s).toString();
    const QByteArray product = name.isEmpty() ? "QNInstaller" : QUrl::toPercentEncoding(name);
    return version.isEmpty() ? product : product + '/' + QUrl::toPercentEncoding(version);
}

} // namespace platform
