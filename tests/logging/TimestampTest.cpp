#include "logging/Timestamp.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QDateTime>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

std::chrono::system_clock::time_point instant(std::int64_t seconds) {
    return std::chrono::system_clock::time_point(std::chrono::seconds(seconds));
}

constexpr std::int64_t kWinter = 1704463629; // 2024-01-05T14:07:09Z
constexpr std::int64_t kSummer = 1720188429; // 2024-07-05T14:07:09Z

struct ZoneCase {
    const char* zone;
    std::int64_t at;
    const char* expected;
};

} // namespace

TEST(Timestamp, ShowsTheOffsetOfTheInstantInItsZone) {
    const ZoneCase table[] = {
        {"UTC", kWinter, "2024-01-05T14:07:09Z"},
        {"Europe/London", kWinter, "2024-01-05T14:07:09Z"},
        {"Europe/London", kSummer, "2024-07-05T15:07:09+01:00"},
        {"Europe/Berlin", kWinter, "2024-01-05T15:07:09+01:00"},
        {"Europe/Berlin", kSummer, "2024-07-05T16:07:09+02:00"},
        {"Asia/Kathmandu", kWinter, "2024-01-05T19:52:09+05:45"},
        {"America/St_Johns", kWinter, "2024-01-05T10:37:09-03:30"},
        {"Pacific/Kiritimati", kWinter, "2024-01-06T04:07:09+14:00"},
        {"<xyz>-1", kWinter, "2024-01-05T15:07:09+01:00"},
    };
    for (const auto& [zone, at, expected] : table) {
        test::setEnvironment("TZ", zone);
        EXPECT_EQ(timestampText(instant(at)), QLatin1String(expected)) << zone;
    }
}

TEST(Timestamp, CutsTheFraction) {
    EXPECT_EQ(timestampText(instant(kWinter) + 999ms), u"2024-01-05T14:07:09Z"_s);
    EXPECT_EQ(timestampText(instant(-1) + 1ms), u"1969-12-31T23:59:59Z"_s);
}

TEST(Timestamp, IsTheSameWhateverTheUsersLocale) {
    test::setEnvironment("LC_ALL", "ar_EG.UTF-8");
    EXPECT_EQ(timestampText(instant(kWinter)), u"2024-01-05T14:07:09Z"_s);
}

TEST(Timestamp, OfNowIsNow) {
    const auto before = QDateTime::currentDateTimeUtc().addSecs(-1);
    const auto stamp = QDateTime::fromString(currentTimestamp(), Qt::ISODate);
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, QDateTime::currentDateTimeUtc());
}
