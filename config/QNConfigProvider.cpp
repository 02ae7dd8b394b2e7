#include "config/QNConfigProvider.h"

#include "platform/Bundle.h"
#include "platform/Console.h"
#include "platform/base/Format.h"
#include "platform/base/Slot.h"

using namespace Qt::StringLiterals;

namespace {

Slot<QVariantMap>& portalConfigSlot() {
    static Slot<QVariantMap> slot;
    return slot;
}

Slot<QString>& portalTypeSlot() {
    static Slot<QString> slot;
    return slot;
}

std::optional<QString> textOf(const QVariant& value) {
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}

// A number or a truth value is taken by its text, as it would show in one: a name or a colour of digits that an editor
// of property lists stored as a number still counts. Anything else is no text.
std::optional<QString> settingText(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QString:
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return describe(value);
    default:
        return std::nullopt;
    }
}

std::optional<QVariantMap> readPortalConfig() {
    const QVariant value = QNConfigProvider::getPlist().value(u"QNConfig"_s);
    return value.typeId() == QMetaType::QVariantMap ? std::optional(value.toMap()) : std::nullopt;
}

// The four keys of one setting, for dev1, qa1, beta and production.
struct EnvironmentKeys {
    const char* dev1;
    const char* qa1;
    const char* beta;
    const char* production;
};

const char* keyForEnvironment(const EnvironmentKeys& keys) {
    const auto environment = textOf(QNConfigProvider::getPlist().value(u"QNEnv"_s));
    if (environment == u"dev1"_s) {
        return keys.dev1;
    }
    if (environment == u"qa1"_s) {
        return keys.qa1;
    }
    if (environment == u"beta"_s) {
        return keys.beta;
    }
    return keys.production;
}

std::optional<QString> settingOfEnvironment(const EnvironmentKeys& keys) {
    return QNConfigProvider::getUrlPlist(QString::fromLatin1(keyForEnvironment(keys)));
}

QString actionAddress(const QString& action) {
    return formatText("%@d://%@", QNConfigProvider::getPortalType(), action);
}

} // namespace

QVariantMap QNConfigProvider::getPlist() {
    return Bundle::mainBundle().infoDictionary();
}

std::optional<QVariantMap> QNConfigProvider::getPortalConfig() {
    auto& slot = portalConfigSlot();
    if (auto kept = slot.value()) {
        return kept;
    }
    auto settings = readPortalConfig();
    if (!settings) {
        platform::consoleLog(formatText("QNConfigPlist: %@", std::optional<QString>()));
    } else if (slot.store(*settings)) { // of two threads that come here at once, one tells
        platform::consoleLog(formatText("QNConfigPlist: %@", *settings));
    }
    return settings;
}

std::optional<QString> QNConfigProvider::getStringFromPlist(const QString& key) {
    const auto settings = getPortalConfig();
    return settings ? settingText(settings->value(key)) : std::nullopt;
}

std::optional<QString> QNConfigProvider::getUrlPlist(const QString& key) {
    auto text = getStringFromPlist(key);
    if (text) {
        text->replace(u"&amp;"_s, u"&"_s);
    }
    return text;
}

QString QNConfigProvider::getPortalType() {
    auto& slot = portalTypeSlot();
    if (const auto kept = slot.value()) {
        return *kept;
    }
    QString type = getStringFromPlist(u"QNPortalType"_s).value_or(u"qn"_s);
    slot.store(type);
    return type;
}

std::optional<QString> QNConfigProvider::getConfigUrl() {
    return settingOfEnvironment({"DEV1_URL", "QA1_URL", "BETA_URL", "PRODUCTION_URL"});
}

std::optional<QString> QNConfigProvider::getEnvSpecificAppDataPath() {
    return settingOfEnvironment({"kQNApplicationDataPathDev1", "kQNApplicationDataPathQA1",
                                 "kQNApplicationDataPathBeta", "kQNApplicationDataPathProd"});
}

std::optional<QString> QNConfigProvider::getEnvSpecificBinaryName() {
    return settingOfEnvironment({"kQNInstallBinaryPathDev1", "kQNInstallBinaryPathQA1", "kQNInstallBinaryPathBeta",
                                 "kQNInstallBinaryPathProd"});
}

QString QNConfigProvider::getAction(const QString& action) {
    QString address = actionAddress(action);
    platform::consoleLog(formatText("%@", address));
    return address;
}
