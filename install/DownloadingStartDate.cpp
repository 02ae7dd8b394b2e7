#include "install/DownloadingStartDate.h"

#include <atomic>

namespace {

using TimePoint = std::chrono::system_clock::time_point;

std::atomic<TimePoint> startDate{TimePoint()};

} // namespace

void setDownloadingStartDate(TimePoint date) {
    startDate = date;
}

TimePoint downloadingStartDate() {
    return startDate;
}

double secondsSince(TimePoint date) {
    return std::chrono::duration<double>(std::chrono::system_clock::now() - date).count();
}
