#include "config/QNConfig.h"

#include "platform/Console.h"
#include "platform/base/Format.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QNConfig::Text textAt(const QVariantMap& object, const char* key) {
    const QVariant value = object.value(QString::fromLatin1(key));
    return value.typeId() == QMetaType::QString ? QNConfig::Text(value.toString()) : std::nullopt;
}

std::optional<QVariantList> listAt(const QVariantMap& object, const char* key) {
    const QVariant value = object.value(QString::fromLatin1(key));
    return value.typeId() == QMetaType::QVariantList ? std::optional(value.toList()) : std::nullopt;
}

// The number 1 and the truth value are not the text "1".
bool isMarked(const QVariantMap& entry, const char* key) {
    return textAt(entry, key) == u"1"_s;
}

} // namespace

QNConfig::QNConfig(const QVariantMap& document)
    : userActionList_(listAt(document, "userAction")), analyticsURL_(textAt(document, "analyticsUrl")) {
    takeUserAction();
    if (defaultAction_ != u"install"_s) {
        return;
    }
    softwareList_ = listAt(document, "software");
    takeSoftware();
}

void QNConfig::takeUserAction() {
    for (const QVariant& item : userActionList_.value_or(QVariantList())) {
        const QVariantMap entry = item.toMap(); // empty for anything but an object
        platform::consoleLog(formatText("action: %@", entry.value(u"action"_s)));
        if (!isMarked(entry, "isActive")) {
            continue;
        }
        defaultAction_ = textAt(entry, "action");
        actionUrl_ = textAt(entry, "actionUrl");
        actionDescription_ = textAt(entry, "actionDescription");
        customParam_ = textAt(entry, "customParam");
        return;
    }
}

void QNConfig::takeSoftware() {
    for (const QVariant& item : softwareList_.value_or(QVariantList())) {
        const QVariantMap entry = item.toMap();
        if (!isMarked(entry, "IsActive")) {
            continue;
        }
        latestWinURL_ = textAt(entry, "winUrl");
        latestMacURL_ = textAt(entry, "macUrl");
        appName_ = textAt(entry, "appName");
        appShortName_ = textAt(entry, "appShortName");
        commandLineArgs_ = textAt(entry, "commandLineArgs");
        return;
    }
}

void QNConfig::setUserActionList(std::optional<QVariantList> list) {
    userActionList_ = std::move(list);
}

void QNConfig::setDefaultAction(Text text) {
    defaultAction_ = std::move(text);
}

void QNConfig::setActionUrl(Text text) {
    actionUrl_ = std::move(text);
}

void QNConfig::setActionDescription(Text text) {
    actionDescription_ = std::move(text);
}

void QNConfig::setCustomParam(Text text) {
    customParam_ = std::move(text);
}

void QNConfig::setSoftwareList(std::optional<QVariantList> list) {
    softwareList_ = std::move(list);
}

void QNConfig::setLatestMacURL(Text text) {
    latestMacURL_ = std::move(text);
}

void QNConfig::setLatestWinURL(Text text) {
    latestWinURL_ = std::move(text);
}

void QNConfig::setAppName(Text text) {
    appName_ = std::move(text);
}

void QNConfig::setAppShortName(Text text) {
    appShortName_ = std::move(text);
}

void QNConfig::setAnalyticsURL(Text text) {
    analyticsURL_ = std::move(text);
}

void QNConfig::setCommandLineArgs(Text text) {
    commandLineArgs_ = std::move(text);
}
