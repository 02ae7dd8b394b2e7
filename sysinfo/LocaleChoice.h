#pragma once

#include <QString>
#include <QStringList>

#include <array>

// What follows from the user's language settings. Pure functions.
namespace LocaleChoice {

// One for each <language>.lproj folder of resources/, in the order in which a locale is looked for.
inline constexpr std::array kSupportedLocales = {
    "cs-CZ", "da-DK", "de-DE", "el-GR", "en-US", "es-ES", "fi-FI", "fr-FR", "hu-HU", "it-IT", "ja-JP", "ko-KR",
    "nb-NO", "nl-NL", "pl-PL", "pt-BR", "ru-RU", "sk-SK", "sv-SE", "tr-TR", "zh-CN", "zh-TW", "he-IL",
};

// The short form of the first preferred language; "en" for an empty one or an empty list.
QString languageOf(const QStringList& preferred);

// "<language>-<country>", or "en-US" when either is empty.
QString localeOf(const QString& language, const QString& country);

// Whether a language such as "he-IL" is written from right to left.
bool isRightToLeft(const QString& language);

} // namespace LocaleChoice
