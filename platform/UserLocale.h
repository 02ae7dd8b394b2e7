#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The user's language list and region, read anew at each call. Any thread.
namespace platform {

// As macOS writes them: "de-DE", "zh-Hans-CN", "sr-Latn-RS". Never empty.
QStringList preferredLanguages();

// "DE"; absent when the settings name no territory.
std::optional<QString> localeCountryCode();

} // namespace platform
