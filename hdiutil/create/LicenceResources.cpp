#include "hdiutil/create/LicenceResources.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsNames.h"

#include <algorithm>
#include <string_view>

namespace hdi {

namespace {

constexpr int kId = 5000;
constexpr std::size_t kMostBytes = std::size_t{1} << 20U;

using Bytes = std::vector<std::byte>;

Bytes bytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

// One language, English, which is also the default: its number, the place of its texts, and how many bytes a character
// has.
Bytes languageList() {
    Bytes list(10);
    storeBig<std::uint16_t>(list, 2, 1);
    return list;
}

// What stands on the window and its buttons.
Bytes windowTexts() {
    constexpr std::string_view kTexts[] = {
        "English",
        "Agree",
        "Disagree",
        "Print",
        "Save...",
        "Press \"Agree\" to accept these terms and go on, or \"Disagree\" to cancel.",
        "Software License Agreement",
        "This text cannot be saved. There may be no room on the disk.",
        "This text cannot be printed. Is a printer chosen?",
    };
    Bytes texts(2);
    storeBig<std::uint16_t>(texts, 0, static_cast<std::uint16_t>(std::size(kTexts)));
    for (const std::string_view text : kTexts) {
        texts.push_back(static_cast<std::byte>(text.size()));
        const Bytes bytes = bytesOf(text);
        texts.insert(texts.end(), bytes.begin(), bytes.end());
    }
    return texts;
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Line ends as the classic system has them.
std::string plainText(std::string text) {
    std::ranges::replace(text, '\n', '\r');
    return text;
}

// Characters beyond ASCII by their numbers, as signed ones of 16 bits.
std::string formattedText(std::string_view text) {
    std::string rich = "{\\rtf1\\ansi\\uc1\n";
    for (const char16_t unit : hfs::toUtf16(text)) {
        if (unit == u'\n') {
            rich += "\\par\n";
        } else if (unit == u'\\' || unit == u'{' || unit == u'}') {
            rich += '\\';
            rich += static_cast<char>(unit);
        } else if (unit < 0x80) {
            rich += static_cast<char>(unit);
        } else {
            rich += "\\u" + std::to_string(static_cast<std::int16_t>(unit)) + "?";
        }
    }
    return rich + "}";
}

std::string withPlainLineEnds(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r') {
            plain += text[i];
        } else if (i + 1 == text.size() || text[i + 1] != '\n') {
            plain += '\n';
        }
    }
    return plain;
}

} // namespace

Resources licenceResources(const std::string& licence) {
    if (licence.empty() || licence.size() > kMostBytes || !hfs::isUtf8(licence)) {
        throw ImageError(ImageError::Kind::kUnsupported, "the licence is empty, not UTF-8 or larger than a megabyte");
    }
    const std::string text = withPlainLineEnds(licence);
    Resources resources;
    resources["LPic"].push_back({kId, "", languageList()});
    resources["STR#"].push_back({kId, "English", windowTexts()});
    if (isAscii(text)) {
        resources["TEXT"].push_back({kId, "English SLA", bytesOf(plainText(text))});
    } else {
        resources["RTF "].push_back({kId, "English SLA", bytesOf(formattedText(text))});
    }
    return resources;
}

} // namespace hdi
