#include "hdiutil/front/VolumeName.h"

#include <gtest/gtest.h>

#include <set>

namespace hdi {
namespace {

TEST(VolumeName, IsCleanedOfWhatDoesNotFitOnALine) {
    const struct {
        std::string stored;
        const char* clean;
    } rows[] = {
        {"My Installer", "My Installer"},
        {"  two  blanks  ", "two  blanks"},
        {"a/b", "a:b"},
        {"a\nb\rc", "abc"},
        {"a\tb\x01\x7f", "ab"},
        {std::string("a\0b", 3), "ab"},
        {"a\xE2\x80\xA8"
         "b\xE2\x80\xA9"
         "c\xC2\x85",
         "abc"}, // line and paragraph separator, next line
        {"\xC3\xA9t\xC3\xA9 \xE2\x98\x83 \xF0\x9F\x98\x80", "\xC3\xA9t\xC3\xA9 \xE2\x98\x83 \xF0\x9F\x98\x80"},
        {"a\xFF\xC3(\xE2\x98", "a("},   // broken UTF-8
        {"\xED\xA0\x80\xC0\xAF/", ":"}, // a surrogate, an overlong slash
        {"", "Untitled"},
        {"   ", "Untitled"},
        {"\n", "Untitled"},
        {".", "Untitled"},
        {"..", "Untitled"},
        {"...", "..."},
        {" \n x \n ", "x"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(cleanVolumeName(row.stored), row.clean) << row.stored;
    }
}

TEST(VolumeName, IsCutToWhatAFileSystemHoldsWithoutSplittingACharacter) {
    std::string stored;
    for (int i = 0; i < 200; ++i) {
        stored += "\xE2\x98\x83";
    }
    EXPECT_EQ(cleanVolumeName(stored), stored.substr(0, 255));
    EXPECT_EQ(cleanVolumeName("ab" + stored), "ab" + stored.substr(0, 252));
}

TEST(VolumeName, GetsTheFirstFreeNumber) {
    const std::set<std::string> taken = {"Name", "Name 1", "Name 3"};
    const auto isTaken = [&](const std::string& name) { return taken.count(name) != 0; };
    EXPECT_EQ(firstFreeName("Name", isTaken), "Name 2");
    EXPECT_EQ(firstFreeName("Other", isTaken), "Other");
}

TEST(VolumeName, StaysShortEnoughWithItsNumber) {
    const std::string longest(255, 'x');
    const std::string name = firstFreeName(longest, [&](const std::string& candidate) { return candidate == longest; });
    EXPECT_EQ(name, std::string(253, 'x') + " 1");
}

} // namespace
} // namespace hdi
