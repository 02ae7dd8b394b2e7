#include "base/MountInfo.h"

#include <gtest/gtest.h>

namespace base {
namespace {

std::vector<std::string> pathsOf(std::string_view table) {
    std::vector<std::string> paths;
    for (const MountEntry& entry : parseMountInfo(table)) {
        paths.push_back(entry.path);
    }
    return paths;
}

using Paths = std::vector<std::string>;

TEST(MountInfo, KeepsTheOrderAndUndoesTheEscapes) {
    EXPECT_EQ(pathsOf("22 1 0:21 / /proc rw,nosuid shared:5 - proc proc rw\n"
                      "30 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                      "77 30 0:55 / /run/user/1000/Volumes/My\\040App\\0113\\134x rw - fuse tool rw\n"),
              (Paths{"/proc", "/", "/run/user/1000/Volumes/My App\t3\\x"}));
}

TEST(MountInfo, ReadsBytesBeyondAscii) {
    EXPECT_EQ(pathsOf("1 1 0:1 / /Volumes/\xC3\x9C\\303\\234 rw - x x x\n"), Paths{"/Volumes/ÜÜ"});
}

TEST(MountInfo, SkipsOptionalFields) {
    const std::vector<MountEntry> entries = parseMountInfo(
        "36 35 98:0 /root /mnt\\040a\\011b\\134 rw,noatime master:1 propagate_from:2 - fuse.hdiutil /dev/disk2 rw\n"
        "37 35 0:52 / /plain ro - ext4 /dev/vda rw\n");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].path, "/mnt a\tb\\");
    EXPECT_EQ(entries[0].type, "fuse.hdiutil");
    EXPECT_EQ(entries[0].device, "98:0");
    EXPECT_EQ(entries[1].type, "ext4");
}

TEST(MountInfo, LeavesOutLinesOfAnotherShape) {
    EXPECT_EQ(pathsOf(""), Paths());
    EXPECT_EQ(pathsOf("one two\n\n1 2 3 4 5 6 7 8 9\n1 2 3 / /a 6 -\n"), Paths());
    EXPECT_EQ(pathsOf("\n\n1 2 3\n1 2 3 4 notabsolute rw - x\n1 2 3 / /cut"), Paths());
}

TEST(MountInfo, SurvivesATableThatEndsAtAnyByte) {
    const std::string whole = "77 30 0:55 / /a\\040b rw,x shared:1 - fuse tool rw\n";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Paths paths = pathsOf(whole.substr(0, length));
        EXPECT_TRUE(paths.empty() || paths == Paths{"/a b"}) << length;
    }
}

TEST(OctalEscapes, StayWhereTheyAreNone) {
    EXPECT_EQ(withoutOctalEscapes("\\04"), "\\04");
    EXPECT_EQ(withoutOctalEscapes("\\048"), "\\048");
    EXPECT_EQ(withoutOctalEscapes("\\777"), "\\777");
    EXPECT_EQ(withoutOctalEscapes("a\\"), "a\\");
    EXPECT_EQ(withoutOctalEscapes("\\134040"), "\\040");
}

} // namespace
} // namespace base
