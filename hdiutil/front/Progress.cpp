#include "hdiutil/front/Progress.h"

#include "base/Files.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace hdi {
namespace {

// Nobody may look at it.
void put(const std::string& text) {
    (void)base::writeAll(STDERR_FILENO, text);
}

} // namespace

std::string progressLine(const std::string& label, int percent) {
    constexpr int kWidth = 40;
    const auto done = static_cast<std::size_t>(percent * kWidth / 100);
    char number[8];
    std::snprintf(number, sizeof number, "%3d%%", percent);
    return label + ": [" + std::string(done, '#') + std::string(kWidth - done, '.') + "] " + number;
}

Progress::Progress(std::string label) : label_(std::move(label)), active_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (percent_ >= 0) {
        put("\r\033[K");
    }
}

void Progress::show(double fraction) {
    const std::lock_guard lock(mutex_);
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
    if (active_ && percent != percent_) {
        percent_ = percent;
        put("\r" + progressLine(label_, percent));
    }
}

} // namespace hdi
