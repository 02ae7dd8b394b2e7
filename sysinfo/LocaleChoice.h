#pragma once

#include <QString>
#include <QStringList>

// What follows from the user's language settings. Pure functions.
namespace LocaleChoice {

// The short form of the first preferred language; "en" for an empty one or an empty list.
QString languageOf(const QStringList& preferred);

// "<language>-<country>", or "en-US" when either is empty.
QString localeOf(const QString& language, const QString& country);

// Whether a language such as "he-IL" is written from right to left.
bool isRightToLeft(const QString& language);

} // namespace LocaleChoice
