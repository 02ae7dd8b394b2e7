#include "platform/linux/MachineFacts.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

using Numbers = std::optional<std::array<int, 3>>;

TEST(VersionNumbers, FillMissingPartsWithZeroAndStopAtOtherText) {
    const std::vector<std::pair<const char*, Numbers>> rows = {
        {"12", {{12, 0, 0}}},         {"22.04", {{22, 4, 0}}},
        {"10.15.7", {{10, 15, 7}}},   {"6.1.0-13-amd64", {{6, 1, 0}}},
        {"5.10-rc3.9", {{5, 10, 0}}}, {"1.2.3.4", {{1, 2, 3}}},
        {"7.", {{7, 0, 0}}},          {"8..1", {{8, 0, 0}}},
        {"", std::nullopt},           {"trixie/sid", std::nullopt},
        {".5", std::nullopt},         {"99999999999", std::nullopt}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(platform::versionNumbers(QString::fromUtf8(text)), expected) << text;
    }
}

TEST(VersionId, IsReadWithoutItsQuotes) {
    const std::vector<std::pair<const char*, const char*>> rows = {{"NAME=x\nVERSION_ID=\"12\"\nID=debian\n", "12"},
                                                                   {"VERSION_ID='39'", "39"},
                                                                   {"VERSION_ID=15.5\r\n", "15.5"},
                                                                   {"VERSION_ID=\"1\\\"2\"\n", "1\"2"},
                                                                   {"VERSION_ID=1\nVERSION_ID=2\n", "2"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(platform::versionIdOf(text), QString::fromUtf8(expected)) << text;
    }
}

TEST(VersionId, IsAbsentWhenMissingOrEmpty) {
    for (const char* const text :
         {"", "NAME=x\n", "VERSION_ID=\n", "VERSION_ID=\"\"\n", "#VERSION_ID=1\n", "VERSION_ID"}) {
        EXPECT_EQ(platform::versionIdOf(text), std::nullopt) << text;
    }
}

TEST(ArchitectureDescription, IsThePlatformsTextForTheKnownFamilies) {
    EXPECT_EQ(platform::architectureDescription(u"x86_64"_s), u"Intel x86-64"_s);
    EXPECT_EQ(platform::architectureDescription(u"aarch64"_s), u"ARM64"_s);
    EXPECT_EQ(platform::architectureDescription(u"riscv64"_s), std::nullopt);
    EXPECT_EQ(platform::architectureDescription(QString()), std::nullopt);
}
