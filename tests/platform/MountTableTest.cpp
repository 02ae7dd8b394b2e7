#include "platform/linux/MountTable.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(MountTable, KeepsTheOrderAndUndoesTheEscapes) {
    const QByteArray table = "22 1 0:21 / /proc rw,nosuid shared:5 - proc proc rw\n"
                             "30 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                             "77 30 0:55 / /run/user/1000/Volumes/My\\040App\\0113\\134x rw - fuse tool rw\n";
    EXPECT_EQ(platform::mountPointsOf(table),
              QStringList({u"/proc"_s, u"/"_s, u"/run/user/1000/Volumes/My App\t3\\x"_s}));
}

TEST(MountTable, ReadsBytesBeyondAscii) {
    EXPECT_EQ(platform::mountPointsOf("1 1 0:1 / /Volumes/\xC3\x9C\\303\\234 rw - x x x\n"),
              QStringList(u"/Volumes/ÜÜ"_s));
}

TEST(MountTable, LeavesOutLinesThatAreNone) {
    EXPECT_EQ(platform::mountPointsOf(""), QStringList());
    EXPECT_EQ(platform::mountPointsOf("\n\n1 2 3\n1 2 3 4 notabsolute rw - x\n1 2 3 / /cut"), QStringList());
}

TEST(MountTable, SurvivesATableThatEndsAtAnyByte) {
    const QByteArray whole = "77 30 0:55 / /a\\040b rw,x shared:1 - fuse tool rw\n";
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QStringList points = platform::mountPointsOf(whole.left(length));
        EXPECT_TRUE(points.isEmpty() || points == QStringList(u"/a b"_s)) << length;
    }
}

TEST(OctalEscapes, StayWhereTheyAreNone) {
    EXPECT_EQ(platform::withoutOctalEscapes("\\04"), "\\04");
    EXPECT_EQ(platform::withoutOctalEscapes("\\048"), "\\048");
    EXPECT_EQ(platform::withoutOctalEscapes("\\777"), "\\777");
    EXPECT_EQ(platform::withoutOctalEscapes("a\\"), "a\\");
    EXPECT_EQ(platform::withoutOctalEscapes("\\134040"), "\\040");
}
