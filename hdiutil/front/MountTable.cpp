#include "hdiutil/front/MountTable.h"

#include "base/Files.h"

#include <algorithm>

namespace hdi {
namespace {

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

} // namespace

std::string tableText(const std::vector<AttachedRow>& rows) {
    constexpr std::size_t kDeviceWidth = 20;
    constexpr std::size_t kContentWidth = 31;
    std::string text;
    for (const AttachedRow& row : rows) {
        text +=
            padded(row.device, kDeviceWidth) + "\t" + padded(row.content, kContentWidth) + "\t" + row.shownPath + "\n";
    }
    return text;
}

std::vector<base::MountEntry> currentMounts() {
    return base::parseMountInfo(base::readSmallFile("/proc/self/mountinfo").value_or(""));
}

} // namespace hdi
