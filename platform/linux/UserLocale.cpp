#include "platform/UserLocale.h"

#include "platform/linux/LocaleNames.h"
#include "platform/linux/OwnEnvironment.h"

#include <langinfo.h>

#include <clocale>
#include <cstring>
#include <string>

namespace platform {
namespace {

std::string inherited(const char* name) {
    return inheritedVariable(name).value_or(std::string());
}

LocaleVariables variablesOfEnvironment() {
    const auto text = [](const char* name) { return QString::fromStdString(inherited(name)); };
    return {text("LC_ALL"), text("LC_MESSAGES"), text("LANG"), text("LANGUAGE")};
}

bool isUtf8LocaleInstalled() {
    const locale_t locale = ::newlocale(LC_ALL_MASK, "", nullptr);
    const bool isUtf8 = locale && std::strcmp(::nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    if (locale) {
        ::freelocale(locale);
    }
    return isUtf8;
}

// Where fontconfig looks for the language whose letter forms are wanted.
std::string fontLanguage() {
    for (const char* name : {"FC_LANG", "LC_ALL", "LC_CTYPE", "LANG"}) {
        if (std::string value = inherited(name); !value.empty()) {
            return value;
        }
    }
    return {};
}

} // namespace

void keepQtInUtf8() {
    if (isUtf8LocaleInstalled()) {
        return;
    }
    setForThisProcessOnly("FC_LANG", fontLanguage().c_str());
    setForThisProcessOnly("LC_ALL", "C.UTF-8");
}

QStringList preferredLanguages() {
    return languagesFrom(variablesOfEnvironment());
}

std::optional<QString> localeCountryCode() {
    return territoryFrom(variablesOfEnvironment());
}

} // namespace platform
