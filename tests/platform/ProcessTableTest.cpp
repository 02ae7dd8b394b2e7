#include "platform/linux/ProcessTable.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(ProcessParent, IsReadBehindANameWithBlanksAndParentheses) {
    EXPECT_EQ(platform::parentOf("7 (a) b (c) S 12 7 7 0 -1 4194560\n"), 12U);
    EXPECT_EQ(platform::parentOf("7 (a) S"), std::nullopt);
}

TEST(ProcessStartTime, IsReadBehindANameWithBlanksAndParentheses) {
    EXPECT_EQ(platform::startTimeOf("7 (a) b (c) S 1 7 7 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 98765 1 2\n"), 98765U);
}

TEST(ProcessStartTime, IsAbsentInATruncatedLine) {
    EXPECT_EQ(platform::startTimeOf(""), std::nullopt);
    EXPECT_EQ(platform::startTimeOf("7 (a) S 1 7"), std::nullopt);
    EXPECT_EQ(platform::startTimeOf("7 (a) S 1 7 7 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 x 1"), std::nullopt);
}

TEST(FirstArgument, IsTheScriptBehindTheInterpretersOptions) {
    using namespace std::string_literals;
    const auto first = [](const std::string& line) {
        return platform::firstArgumentOf(QByteArray::fromStdString(line)).toStdString();
    };
    EXPECT_EQ(first("/bin/sh\0/a/B.app/Contents/MacOS/c\0x\0"s), "/a/B.app/Contents/MacOS/c");
    EXPECT_EQ(first("/bin/sh\0-e\0c\0"s), "c");
    EXPECT_EQ(first("/bin/sh\0"s), "");
    EXPECT_EQ(first(""), "");
}

TEST(BundleHolding, IsTheFolderAboveContents) {
    EXPECT_EQ(platform::bundleHolding(u"/a/B.app/Contents/MacOS/c"_s), u"/a/B.app"_s);
    for (const char* const other :
         {"/a/B.app/Contents/MacOS/d/c", "/a/B.app/Contents/Resources/c", "/bin/sh", "", "/Contents/MacOS/c", "c"}) {
        EXPECT_EQ(platform::bundleHolding(QString::fromUtf8(other)), std::nullopt) << other;
    }
}
