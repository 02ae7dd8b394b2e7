#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The user's language list and region, read anew at each call. Any thread.
namespace platform {

// Gives Qt a locale in UTF-8 where the user's is in another encoding, or is not installed: Qt would change it by
// itself, and say so in four lines on the console. Languages, fonts and the programs that are started still go by what
// the user set. Before any thread.
void keepQtInUtf8();

// As macOS writes them: "de-DE", "zh-Hans-CN", "sr-Latn-RS". Never empty.
QStringList preferredLanguages();

// "DE"; absent when the settings name no territory.
std::optional<QString> localeCountryCode();

} // namespace platform
