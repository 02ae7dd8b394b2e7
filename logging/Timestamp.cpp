#include "logging/Timestamp.h"

#include <cstdlib>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

QString number(long value, int digits) {
    return QString::number(value).rightJustified(digits, QLatin1Char('0'));
}

// Of the instant, so daylight saving counts. Whole minutes, as everywhere since the local mean times were given up.
QString offsetText(long seconds) {
    if (seconds == 0) {
        return u"Z"_s;
    }
    const long minutes = std::abs(seconds) / 60;
    return QLatin1Char(seconds < 0 ? '-' : '+') + number(minutes / 60, 2) + QLatin1Char(':') + number(minutes % 60, 2);
}

} // namespace

QString timestampText(std::chrono::system_clock::time_point instant) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(instant);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm local = {};
    tzset(); // localtime_r need not look at the zone again
    if (localtime_r(&seconds, &local) == nullptr) {
        return {};
    }
    const QLatin1Char dash('-');
    const QLatin1Char colon(':');
    return number(local.tm_year + 1900L, 4) + dash + number(local.tm_mon + 1L, 2) + dash + number(local.tm_mday, 2) +
           QLatin1Char('T') + number(local.tm_hour, 2) + colon + number(local.tm_min, 2) + colon +
           number(local.tm_sec, 2) + offsetText(local.tm_gmtoff);
}

QString currentTimestamp() {
    return timestampText(std::chrono::system_clock::now());
}
