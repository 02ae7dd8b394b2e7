#include "tools/qn-portal/common/Timestamp.h"
#include "tools/qn-portal/report/EventLine.h"

#include <gtest/gtest.h>

using portal::secondsOf;
using portal::report::Event;
using portal::report::EventReader;

namespace {

const std::string kLine =
    R"(2026-11-08T20:38:46Z ci=5feceb66-fc86-48d9-8786-6d696c79c2db {"APP":"Kit","CC":"JP","EVT":"Config","L":"en-US",)"
    R"("OS":"OS X","OSVer":"14.2.1","Proc":"Apple M2","RSLT":"FAIL","RSN":"Configuration error","T":0.25,"Ver":"1.0.0"})";

} // namespace

TEST(EventLine, TakesAllThatAReportCountsOutOfALine) {
    EventReader reader;
    const Event* const event = reader.read(kLine);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->time, 1'794'170'326);
    EXPECT_EQ(event->identifier, "5feceb66-fc86-48d9-8786-6d696c79c2db");
    EXPECT_EQ(event->name, "Config");
    EXPECT_EQ(event->product, "Kit");
    EXPECT_EQ(event->version, "1.0.0");
    EXPECT_EQ(event->country, "JP");
    EXPECT_EQ(event->language, "en-US");
    EXPECT_EQ(event->system, "OS X");
    EXPECT_EQ(event->systemVersion, "14.2.1");
    EXPECT_EQ(event->processor, "Apple M2");
    EXPECT_EQ(event->result, "FAIL");
    EXPECT_EQ(event->reason, "Configuration error");
    EXPECT_EQ(event->seconds, 0.25);
}

TEST(EventLine, ReadsTextsWithEscapes) {
    EventReader reader;
    const Event* const event =
        reader.read(R"(2026-11-08T20:38:46Z ci=a {"EVT":"Download","RSN":"a \"b\" c:\\d \u00e9\n","APP":"K\u0069t"})");
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->reason, "a \"b\" c:\\d \xC3\xA9\n");
    EXPECT_EQ(event->product, "Kit");
}

TEST(EventLine, PassesOverWhatItDoesNotKnow) {
    EventReader reader;
    const Event* const event = reader.read(
        R"(2026-11-08T20:38:46Z ci=a { "X" : {"EVT":"no","a":[1,"}"]}, "APP": 7, "RSN": null, "EVT": "End" })");
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->name, "End");
    EXPECT_EQ(event->product, "");
}

TEST(EventLine, RefusesWhatIsNoEvent) {
    EventReader reader;
    for (const char* const line :
         {"", " ", "x", "2026-11-08T20:38:46Z", "2026-11-08T20:38:46Z ci=a", "2026-11-08T20:38:46Z ci=a ",
          "2026-11-08T20:38:46Z ci=a {}", R"(2026-11-08T20:38:46Z ci=a {"EVT":7})",
          R"(2026-11-08 20:38:46Z ci=a {"EVT":"End"})", R"(2026-13-08T20:38:46Z ci=a {"EVT":"End"})",
          R"(2026-11-08T20:38:46 ci=a {"EVT":"End"})", R"(2026-11-08T20:38:46Z xi=a {"EVT":"End"})",
          R"(2026-11-08T20:38:46Z ci=a {"EVT":"End")", R"(2026-11-08T20:38:46Z ci=a {"EVT":})",
          R"(2026-11-08T20:38:46Z ci=a {"EVT"})", R"(2026-11-08T20:38:46Z ci=a ["EVT"])"}) {
        EXPECT_EQ(reader.read(line), nullptr) << line;
    }
}

TEST(EventLine, RefusesALineThatIsCutAtAnyByte) {
    EventReader reader;
    for (std::size_t size = 0; size < kLine.size(); ++size) {
        EXPECT_EQ(reader.read(kLine.substr(0, size)), nullptr) << size;
    }
}

TEST(EventLine, NeverReadsBeyondALineWithAByteOfAnyValueInIt) {
    EventReader reader;
    for (std::size_t at = 0; at < kLine.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string line = kLine;
            line[at] = static_cast<char>(value);
            reader.read(line); // the sanitizers watch
        }
    }
    EXPECT_NE(reader.read(kLine), nullptr);
}

TEST(EventLine, ReadsTimesInEveryZone) {
    EXPECT_EQ(secondsOf("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(secondsOf("2024-03-05T14:07:09+01:00"), 1'709'644'029);
    EXPECT_EQ(secondsOf("2024-03-05T14:07:09-0330"), 1'709'660'229);
    EXPECT_EQ(secondsOf("2024-02-29T00:00:00.123Z"), 1'709'164'800);
    for (const char* const text : {"", "2024-02-30T00:00:00Z", "2024-03-05T14:07:09+1", "2024-03-05T14:07:09+01:0",
                                   "2024-03-05T14:07:09+01:00x", "2024-03-05T14:07:09.", "2024-03-05"}) {
        EXPECT_EQ(secondsOf(text), std::nullopt) << text;
    }
}
