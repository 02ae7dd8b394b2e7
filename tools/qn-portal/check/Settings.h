#pragma once

#include <QString>

#include <span>
#include <string_view>

// The settings of a bundle, as one table.
namespace portal::check {

struct Setting {
    enum class Kind { kText, kConfigAddress, kDataPath, kColor, kLink };

    std::string_view key;
    Kind kind;
    std::string_view environment; // of one that belongs to one: "dev1", "qa1", "beta", "prod"
    bool isRequired;
    std::string_view meaning;
    std::string_view without; // what the user sees when it is missing
};

// Of the dictionary QNConfig.
std::span<const Setting> settings();
// The keys of the text tables, in alphabetical order.
std::span<const std::string_view> textKeys();
// The languages of the original bundle, as its tables are called.
std::span<const std::string_view> languages();
// A locale whose users get the table of this language: "pt-BR" for "pt", "zh-TW" for "zh-Hant".
QString localeFor(const QString& language);

} // namespace portal::check
