#include "platform/linux/ProcessTable.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

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
