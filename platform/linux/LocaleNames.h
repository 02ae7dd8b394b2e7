#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// From the variables of POSIX locales (XBD 8.2, gettext's LANGUAGE) to the language tags and the region that the
// program works with. Pure functions.
namespace platform {

struct LocaleVariables {
    QString lcAll;
    QString lcMessages;
    QString lang;
    QString language; // a list, separated by colons
};

// The items of LANGUAGE in their order, then the effective locale. "en" alone when the locale is C, POSIX or not set:
// LANGUAGE means nothing then.
QStringList languagesFrom(const LocaleVariables& variables);

// The territory of the effective locale, two upper-case letters.
std::optional<QString> territoryFrom(const LocaleVariables& variables);

// "sr_RS.UTF-8@latin" becomes "sr-Latn-RS", "zh_HK" becomes "zh-Hant-HK"; empty when there is no language in it.
QString languageTagOf(const QString& posixName);

} // namespace platform
