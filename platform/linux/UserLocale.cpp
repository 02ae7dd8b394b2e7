#include "platform/UserLocale.h"

#include "platform/linux/LocaleNames.h"

namespace platform {
namespace {

LocaleVariables variablesOfEnvironment() {
    return {qEnvironmentVariable("LC_ALL"), qEnvironmentVariable("LC_MESSAGES"), qEnvironmentVariable("LANG"),
            qEnvironmentVariable("LANGUAGE")};
}

} // namespace

QStringList preferredLanguages() {
    return languagesFrom(variablesOfEnvironment());
}

std::optional<QString> localeCountryCode() {
    return territoryFrom(variablesOfEnvironment());
}

} // namespace platform
