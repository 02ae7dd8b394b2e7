#include "hdiutil/partition/GptTypes.h"

#include <algorithm>

namespace hdi {

namespace {

struct Type {
    std::string_view guid;
    std::string_view content;
};

constexpr Type kTypes[] = {
    {"48465300-0000-11AA-AA11-00306543ECAC", "Apple_HFS"},
    {"7C3457EF-0000-11AA-AA11-00306543ECAC", "Apple_APFS"},
    {"55465300-0000-11AA-AA11-00306543ECAC", "Apple_UFS"},
    {"426F6F74-0000-11AA-AA11-00306543ECAC", "Apple_Boot"},
    {"52414944-0000-11AA-AA11-00306543ECAC", "Apple_RAID"},
    {"53746F72-6167-11AA-AA11-00306543ECAC", "Apple_CoreStorage"},
    {"C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "EFI"},
    {"E3C9E316-0B5C-4DB8-817D-F92DF00215AE", "Microsoft Reserved"},
    {"EBD0A0A2-B9E5-4433-87C0-68B6B72699C7", "Microsoft Basic Data"},
    {"0FC63DAF-8483-4772-8E79-3D69D8477DE4", "Linux Filesystem"},
};

// Which byte each pair of digits shows: the first three groups are little-endian.
constexpr std::array<std::size_t, kGuidSize> kOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

constexpr std::string_view kDigits = "0123456789ABCDEF";

std::string textOf(std::span<const std::byte, kGuidSize> guid) {
    std::string text;
    for (std::size_t i = 0; i < kGuidSize; ++i) {
        text += i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "";
        text += kDigits[std::to_integer<unsigned>(guid[kOrder.at(i)]) >> 4U];
        text += kDigits[std::to_integer<unsigned>(guid[kOrder.at(i)]) & 15U];
    }
    return text;
}

Guid guidOf(std::string_view text) {
    Guid guid{};
    std::size_t at = 0;
    for (const char digit : text) {
        if (digit != '-') {
            std::byte& byte = guid.at(kOrder.at(at / 2));
            byte = byte << 4U | static_cast<std::byte>(kDigits.find(digit));
            ++at;
        }
    }
    return guid;
}

} // namespace

std::string gptContent(std::span<const std::byte, kGuidSize> type) {
    const std::string text = textOf(type);
    const auto known =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const Type& entry) { return entry.guid == text; });
    return known == std::end(kTypes) ? text : std::string(known->content);
}

Guid gptType(std::string_view content) {
    const auto known =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const Type& entry) { return entry.content == content; });
    return known == std::end(kTypes) ? Guid{} : guidOf(known->guid);
}

} // namespace hdi
