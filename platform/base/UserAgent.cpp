#include "platform/base/UserAgent.h"

#include <QUrl>

QByteArray userAgent(const QVariantMap& infoDictionary) {
    QString name = infoDictionary.value(QStringLiteral("CFBundleName")).toString();
    if (name.isEmpty())
        name = infoDictionary.value(QStringLiteral("CFBundleExecutable")).toString();
    const QString version = infoDictionary.value(QStringLiteral("CFBundleShortVersionString")).toString();
    const QByteArray product = name.isEmpty() ? "QNInstaller" : QUrl::toPercentEncoding(name);
    return version.isEmpty() ? product : product + '/' + QUrl::toPercentEncoding(version);
}
