#include "tools/qn-portal/common/Timestamp.h"

#include <algorithm>
#include <chrono>

namespace portal {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

std::optional<int> number(std::string_view text, std::size_t from, std::size_t digits) {
    int value = 0;
    for (std::size_t i = from; i < from + digits; ++i) {
        if (i >= text.size() || !isDigit(text[i])) {
            return std::nullopt;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

// "Z", "+hh:mm", "-hh:mm" or the same without the colon, as seconds.
std::optional<int> offsetOf(std::string_view zone) {
    if (zone == "Z") {
        return 0;
    }
    if (zone.size() < 5 || (zone[0] != '+' && zone[0] != '-')) {
        return std::nullopt;
    }
    const std::size_t minutesAt = zone[3] == ':' ? 4 : 3;
    const auto hours = number(zone, 1, 2);
    const auto minutes = number(zone, minutesAt, 2);
    if (!hours || !minutes || zone.size() != minutesAt + 2) {
        return std::nullopt;
    }
    const int seconds = (*hours * 60 + *minutes) * 60;
    return zone[0] == '-' ? -seconds : seconds;
}

} // namespace

std::optional<std::int64_t> secondsOf(std::string_view timestamp) {
    constexpr std::size_t kZoneAt = 19;
    constexpr std::string_view kForm = "    -  -  T  :  :  ";
    if (timestamp.size() <= kZoneAt) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < kZoneAt; ++i) {
        if (kForm[i] == ' ' ? !isDigit(timestamp[i]) : timestamp[i] != kForm[i]) {
            return std::nullopt;
        }
    }
    std::size_t zoneAt = kZoneAt;
    if (timestamp[zoneAt] == '.') {
        zoneAt = std::min(timestamp.find_first_not_of("0123456789", zoneAt + 1), timestamp.size());
    }
    const auto offset = offsetOf(timestamp.substr(zoneAt));
    const std::chrono::year_month_day day{std::chrono::year(*number(timestamp, 0, 4)),
                                          std::chrono::month(static_cast<unsigned>(*number(timestamp, 5, 2))),
                                          std::chrono::day(static_cast<unsigned>(*number(timestamp, 8, 2)))};
    if (!offset || !day.ok()) {
        return std::nullopt;
    }
    const std::int64_t days = std::chrono::sys_days(day).time_since_epoch().count();
    const std::int64_t hours = *number(timestamp, 11, 2);
    const std::int64_t minutes = *number(timestamp, 14, 2);
    return days * 86400 + (hours * 60 + minutes) * 60 + *number(timestamp, 17, 2) - *offset;
}

} // namespace portal
