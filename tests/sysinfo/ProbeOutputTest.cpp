#include "sysinfo/ProbeOutput.h"
#include "tests/support/QtPrinters.h"

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;
using ProbeOutput::firstHardwareAddress;
using ProbeOutput::processorName;

TEST(ProbeOutput, JoinsTheVersionNumbersWithPoints) {
    EXPECT_EQ(ProbeOutput::versionText({10, 15, 7}), u"10.15.7"_s);
    EXPECT_EQ(ProbeOutput::versionText({12, 0, 0}), u"12.0.0"_s);
}

TEST(ProbeOutput, TruncatesTheSidesOfTheScreen) {
    EXPECT_EQ(ProbeOutput::sizeText({1439.5, 899.9}), u"1439x899"_s);
    EXPECT_EQ(ProbeOutput::sizeText({1440, 900}), u"1440x900"_s);
    EXPECT_EQ(ProbeOutput::sizeText({0, 0}), u"0x0"_s);
}

TEST(ProbeOutput, FindsTheProcessorNameInAProfile) {
    const std::pair<QString, std::optional<QString>> table[] = {
        {u"Hardware:\n\n    Processor Name: Quad-Core Intel Core i7\n    Memory: 16 GB\n"_s,
         u"Quad-Core Intel Core i7"_s},
        {u"      Chip: Apple M1\n"_s, u"Apple M1"_s},
        {u"Chip: Apple M1\nProcessor Name: Intel\n"_s, u"Intel"_s}, // the first label goes first, wherever it is
        {u"PROCESSOR name: Upper\n"_s, u"Upper"_s},                 // case is ignored
        {u"Processor Name: First\nProcessor Name: Second\n"_s, u"First"_s},
        {u"Processor Name: \nProcessor Name: Second\nProcessor Name: Third"_s, u"Second"_s},
        {u"Processor Name: \nChip: Apple M1\n"_s, u""_s},        // an empty name is a name
        {u"Processor Name:\nChip: Apple M2\n"_s, u"Apple M2"_s}, // no blank: no label
        {u"Processor Name: a Processor Name: b\n"_s, u"a Processor Name: b"_s},
        {u"Processor Name:  two blanks \n"_s, u" two blanks "_s},
        {u"Processor Name: no line end"_s, u"no line end"_s},
        {u"Processor Speed: 2 GHz\n"_s, std::nullopt},
        {u""_s, std::nullopt},
    };
    for (const auto& [profile, expected] : table) {
        EXPECT_EQ(processorName(profile), expected) << profile.toStdString();
    }
}

TEST(ProbeOutput, EndsTheProcessorNameAtEveryKindOfLineEnd) {
    for (const char16_t end : {u'\n', u'\v', u'\f', u'\r', u'\u0085', u'\u2028', u'\u2029'}) {
        EXPECT_EQ(processorName(u"Processor Name: Intel"_s + QChar(end) + u"rest"_s), u"Intel"_s) << int(end);
    }
    EXPECT_EQ(processorName(u"Chip: Ünï\U0001F600\r\n"_s), u"Ünï\U0001F600"_s);
}

TEST(ProbeOutput, FindsTheFirstHardwareAddressThatIsNotAllZeros) {
    const std::pair<QString, std::optional<QString>> table[] = {
        {u"lo: ether 00:00:00:00:00:00\nen0: ether a4:83:e7:12:34:56\n"_s, u"a4:83:e7:12:34:56"_s},
        {u"en0: ether A4:83:E7:12:34:56\n"_s, u"A4:83:E7:12:34:56"_s}, // as it is written
        {u"en1: ether 11:22:33:44:55:66\nen0: ether a4:83:e7:12:34:56\n"_s, u"11:22:33:44:55:66"_s},
        {u"ether zz:zz:zz:zz:zz:zz\n"_s, u"zz:zz:zz:zz:zz:zz"_s}, // any letters
        {u"ether 00:00:00:00:00:00\nether 00:00:00:00:00:00"_s, std::nullopt},
        {u"ether 00:00:00:00:00:01"_s, u"00:00:00:00:00:01"_s},
        {u"ether a4:83:e7:12:34\n"_s, std::nullopt},
        {u"ether a4:83:e7:12:34:5"_s, std::nullopt},
        {u"ether a4-83-e7-12-34-56"_s, std::nullopt},
        {u"xa4:83:e7:12:34:567"_s, u"a4:83:e7:12:34:56"_s}, // also inside longer words
        {u"aa:bb:cc:dd:ee:ff:00:11"_s, u"aa:bb:cc:dd:ee:ff"_s},
        {u"inet6 fe80::1 no address\n"_s, std::nullopt},
        {u""_s, std::nullopt},
    };
    for (const auto& [interfaces, expected] : table) {
        EXPECT_EQ(firstHardwareAddress(interfaces), expected) << interfaces.toStdString();
    }
}

TEST(ProbeOutput, FindsNothingInEveryBeginningOfAnAddress) {
    const QString address = u"a4:83:e7:12:34:56"_s;
    for (qsizetype length = 0; length < address.size(); ++length) {
        EXPECT_EQ(firstHardwareAddress(address.first(length)), std::nullopt);
    }
    const QString label = u"Processor Name: "_s;
    for (qsizetype length = 0; length < label.size(); ++length) {
        EXPECT_EQ(processorName(label.first(length)), std::nullopt);
    }
}

TEST(ProbeOutput, SurvivesGarbage) {
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        QString garbage;
        for (auto length = random() % 200; length > 0; --length) {
            garbage += QChar(static_cast<char16_t>(random()));
        }
        garbage += u"Processor Name: "_s + QChar(0xD800);
        firstHardwareAddress(garbage);
        processorName(garbage);
    }
}
