#include "tests/tools/qn-portal/log/LogText.h"
#include "tools/qn-portal/log/LogError.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

using portal::eventlog::Entry;
using portal::eventlog::EntryReader;
using portal::eventlog::NoEventLog;
using test::entriesOf;
using test::event;
using test::head;
using test::kTail;
using test::plain;
using testing::ElementsAre;

namespace {

// Each entry's message, with a mark for cut and foreign ones.
std::vector<std::string> messagesOf(const std::string& log) {
    std::vector<std::string> messages;
    for (const auto& entry : entriesOf(log)) {
        messages.push_back((entry.kind == Entry::Kind::kForeign ? "foreign:" : "") + entry.message +
                           (entry.isCut ? ":cut" : ""));
    }
    return messages;
}

} // namespace

TEST(EntryReader, ReadsEveryFieldOfAPlainEntryAndOfAnEvent) {
    const auto entries = entriesOf(plain("05", "Config successful") + event("06", R"({"EVT":"Start"})"));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].kind, Entry::Kind::kPlain);
    EXPECT_EQ(entries[0].time, "2026-01-02T03:04:05Z");
    EXPECT_EQ(entries[0].identifier, "abc");
    EXPECT_EQ(entries[0].level, "DEBUG");
    EXPECT_EQ(entries[0].message, "Config successful");
    EXPECT_FALSE(entries[0].isCut);
    using Pair = std::pair<std::string, std::string>;
    EXPECT_THAT(entries[0].fields, ElementsAre(Pair("lang", "en"), Pair("country", "GB"), Pair("locale", "en-GB"),
                                               Pair("file", "F.cpp"), Pair("fn", "-[C f:]"), Pair("line", "42")));
    EXPECT_EQ(entries[1].kind, Entry::Kind::kEvent);
    EXPECT_EQ(entries[1].level, "EVT");
    EXPECT_EQ(entries[1].message, R"({"EVT":"Start"})");
}

TEST(EntryReader, ReadsMessagesThatLookLikePiecesOfALine) {
    for (const std::string& message :
         {std::string(), std::string("\""), std::string("\\"), std::string("a \"b\" c"), std::string("a\r\nb"),
          std::string("\r\n"), std::string("\n"), std::string("a\", \"lang\": \"en"), kTail, "\"" + kTail,
          "x\"" + kTail + "\r\n", "x\"" + kTail + "\r\ny", kTail + kTail, std::string("{ \"time\": \""),
          head("05", "DEBUG", "other") + "\" x", "a" + plain("00", "b") + "c", plain("06", "b"),
          plain("06", plain("06", "c") + "d") + "e", std::string("\0\x01", 2)}) {
        EXPECT_THAT(messagesOf(plain("05", "before") + plain("06", message) + plain("07", "behind")),
                    ElementsAre("before", message, "behind"));
        EXPECT_THAT(messagesOf(plain("06", message)), ElementsAre(message));
    }
}

TEST(EntryReader, ReadsTheSameInBlocksOfAnySize) {
    const std::string log = plain("05", "a\r\nb \"c\"") + event("06", "{}") + plain("06", kTail + "\r\nx") +
                            "noise\r\n" + plain("07", "last");
    const auto whole = messagesOf(log);
    EXPECT_THAT(whole, ElementsAre("a\r\nb \"c\"", "{}", kTail + "\r\nx", "foreign:noise", "last"));
    for (std::size_t block = 1; block < log.size(); ++block) {
        std::vector<std::string> messages;
        for (const auto& entry : entriesOf(log, block)) {
            messages.push_back((entry.kind == Entry::Kind::kForeign ? "foreign:" : "") + entry.message);
        }
        EXPECT_EQ(messages, whole) << block;
    }
}

TEST(EntryReader, TellsOfALastLineThatIsCutAtAnyByte) {
    const std::string first = plain("05", "first");
    const std::string last = plain("06", "last \"one\"");
    for (std::size_t size = 1; size < last.size() - 2; ++size) { // without its line end it is still whole
        const auto entries = entriesOf(first + last.substr(0, size));
        ASSERT_EQ(entries.size(), 2U) << size;
        EXPECT_EQ(entries[0].message, "first");
        EXPECT_TRUE(entries[1].isCut) << last.substr(0, size);
        const bool hasHead = size > last.find("\" last");
        EXPECT_EQ(entries[1].time, hasHead ? "2026-01-02T03:04:06Z" : "") << size;
        if (size > last.find(", \"lang")) {
            EXPECT_EQ(entries[1].message, "last \"one\"") << size;
        }
    }
    EXPECT_THAT(messagesOf(first + last.substr(0, last.size() - 1)), ElementsAre("first", "last \"one\""));
}

TEST(EntryReader, TellsOfALineThatIsCutInTheMiddleOfTheFile) {
    const std::string next = plain("07", "next") + plain("08", "behind");
    EXPECT_THAT(messagesOf(head("06") + "\" half" + next), ElementsAre("half:cut", "next", "behind"));
    EXPECT_THAT(messagesOf(head("06") + "\" half\r\n" + next), ElementsAre("half\r\n:cut", "next", "behind"));
    EXPECT_THAT(messagesOf(plain("05", "first") + "{ \"time\": \"2026-01-0" + next),
                ElementsAre("first", "foreign:{ \"time\": \"2026-01-0:cut", "next", "behind"));
    EXPECT_THAT(messagesOf(head("05") + "\" a" + head("06") + "\" b" + next),
                ElementsAre("a:cut", "b:cut", "next", "behind"));
    EXPECT_THAT(messagesOf(head("09", "DEBUG", "other") + "\" a" + plain("05", "Removing app cache from /x .")),
                ElementsAre("a:cut", "Removing app cache from /x ."));
}

TEST(EntryReader, HandsOverTextThatBelongsToNoEntry) {
    EXPECT_THAT(messagesOf("from an editor\r\n" + plain("05", "a") + "between\n\n" + plain("06", "b") + "at the end"),
                ElementsAre("foreign:from an editor", "a", "foreign:between\n", "b", "foreign:at the end"));
}

TEST(EntryReader, ReadsLinesWithOtherFieldsBehindTheirLanguage) {
    const auto entries = entriesOf(head("05") + "\" a\", \"lang\": \"en\", \"pid\": \"7\" }\n" + plain("06", "b"));
    ASSERT_EQ(entries.size(), 2U);
    ASSERT_EQ(entries[0].fields.size(), 2U);
    EXPECT_EQ(entries[0].fields[1].first, "pid");
}

TEST(EntryReader, ReadsLinesOfOtherVersionsBetweenItsOwn) {
    const auto entries =
        entriesOf("{ \"time\": \"2026-01-02T03:04:05Z\", \"trace\": \"DEBUG\", \"message\":\"a\"" + kTail + "\r\n" +
                  plain("06", "b") + "{ \"time\": \"T\", \"ci\": \"x\",\"message\": {}" + kTail + "\r\n");
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].level, "DEBUG");
    EXPECT_EQ(entries[0].identifier, "");
    EXPECT_EQ(entries[0].message, "a");
    EXPECT_EQ(entries[1].message, "b");
    EXPECT_EQ(entries[2].identifier, "x");
    EXPECT_EQ(entries[2].level, "");
    EXPECT_EQ(entries[2].kind, Entry::Kind::kEvent);
}

TEST(EntryReader, RefusesWhatIsNoLog) {
    EXPECT_TRUE(entriesOf("").empty());
    for (const std::string& noise : {std::string("\0\xFF", 2), std::string("hello\n"), std::string("{\"time\": 1}\n"),
                                     std::string(3'000'000, '\n'), std::string(3'000'000, 'x')}) {
        EXPECT_THROW(entriesOf(noise), NoEventLog);
    }
}

TEST(EntryReader, RefusesAnEntryThatNeverEnds) {
    EXPECT_THROW(entriesOf(head("05") + "\" " + std::string(40'000'000, 'x')), NoEventLog);
}

TEST(EntryReader, HandsOverEveryByteOfALogThatIsDamagedAnywhere) {
    const std::string log =
        plain("05", "first") + event("06", "{}") + plain("07", "a" + plain("07", "b") + "c") + plain("08", "last");
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = log;
        for (int changes = 0; changes < 3; ++changes) {
            const std::size_t at = log.find("\n") + random() % (log.size() - log.find("\n"));
            damaged.replace(std::min(at, damaged.size()), random() % 40, std::string(random() % 3, '#'));
        }
        // A "#" is in no other place: none is lost, in whatever it is read as.
        std::string read;
        for (const auto& entry : entriesOf(damaged, 1 + random() % 500)) {
            read += entry.time + entry.identifier + entry.level + entry.message;
            for (const auto& [name, value] : entry.fields) {
                read += name + value;
            }
        }
        EXPECT_EQ(std::ranges::count(read, '#'), std::ranges::count(damaged, '#')) << damaged;
    }
}

TEST(EntryReader, TakesTimeThatGrowsWithTheFileOnlyHoweverItIsTangled) {
    std::string cuts;
    std::string tails;
    for (int i = 0; i < 20'000; ++i) {
        cuts += head("06") + "\" x";
        tails += kTail + "\r\nx";
    }
    EXPECT_EQ(entriesOf(cuts + "\"" + kTail + "\r\n").size(), 20'000U);
    EXPECT_THAT(messagesOf(plain("05", tails)), ElementsAre(tails));
}

TEST(EntryReader, HandsAWholeEntryOverWhenNothingFollowsForTheMoment) {
    std::vector<std::string> messages;
    EntryReader reader([&](const Entry& entry) { messages.emplace_back(entry.message); });
    const auto add = [&](const std::string& text) {
        std::memcpy(reader.room().data(), text.data(), text.size());
        reader.filled(text.size());
        reader.pause();
    };
    const std::string line = plain("05", "a");
    add(line.substr(0, 40));
    EXPECT_TRUE(messages.empty());
    add(line.substr(40));
    EXPECT_THAT(messages, ElementsAre("a"));
}
