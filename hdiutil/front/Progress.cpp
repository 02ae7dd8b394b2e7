#include "hdiutil/front/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace hdi {
namespace {

// The reader's callback is a plain function, so what it draws on is kept here.
struct Line {
    std::mutex mutex;
    std::string label;
    bool active = false;
    int percent = -1;
};

Line& line() {
    static Line theLine;
    return theLine;
}

void put(const std::string& text) {
    (void)!::write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

std::string progressLine(const std::string& label, int percent) {
    constexpr int kWidth = 40;
    const auto done = static_cast<std::size_t>(percent * kWidth / 100);
    char number[8];
    std::snprintf(number, sizeof number, "%3d%%", percent);
    return label + ": [" + std::string(done, '#') + std::string(kWidth - done, '.') + "] " + number;
}

Progress::Progress(std::string label) {
    const std::lock_guard lock(line().mutex);
    line().label = std::move(label);
    line().active = isatty(STDERR_FILENO) == 1;
    line().percent = -1;
}

Progress::~Progress() {
    const std::lock_guard lock(line().mutex);
    if (line().active && line().percent >= 0) {
        put("\r\033[K");
    }
    line().active = false;
}

void Progress::show(double fraction) {
    const std::lock_guard lock(line().mutex);
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
    if (line().active && percent != line().percent) {
        line().percent = percent;
        put("\r" + progressLine(line().label, percent));
    }
}

} // namespace hdi
