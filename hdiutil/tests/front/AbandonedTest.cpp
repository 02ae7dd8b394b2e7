#include "base/ProcessIdentity.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

Words named(const std::string& owner, const Words& words) {
    Words all = {"env", std::string(base::kAttachOwnerVariable) + '=' + owner};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

// What attaches for an application that may be gone.
class Abandoned : public BothWays {
protected:
    Outcome mountFor(const std::string& owner) {
        if (path_.empty()) {
            path_ = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
        }
        return runProgram(inWay(GetParam(), named(owner, command({"mount", path_}))));
    }
    std::string folder() const { return volumes() + "/Transmission"; }
    bool isThere() const { return fs::exists(folder() + "/Transmission.app"); }

private:
    std::string path_;
};
INSTANTIATE_TEST_SUITE_P(Both, Abandoned, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

std::string livingOwner() {
    return textOf(base::ProcessIdentity::self());
}

// The number is ours, but it was given to us after that application had ended.
std::string goneOwner() {
    base::ProcessIdentity gone = base::ProcessIdentity::self();
    gone.started -= 1;
    return textOf(gone);
}

TEST_P(Abandoned, GoesWithTheNextCallWhicheverVerb) {
    const std::string other = copyOf("hfsplus-gpt-zlib-links.dmg");
    fs::create_directory(base() + "/source");
    const std::vector<Words> calls = {
        {"info"},
        {"imageinfo", other},
        {"verify", other},
        {"create", "-srcfolder", base() + "/source", "-volname", "New", base() + "/new.dmg"},
        {"detach", "/Volumes/Transmission"}};
    for (const Words& call : calls) {
        ASSERT_EQ(mountFor(goneOwner()).status, 0);
        ASSERT_TRUE(isThere());
        EXPECT_EQ(hdiutil(call).status, 0) << call.front();
        EXPECT_THAT(leftovers(), IsEmpty()) << call.front();
    }
}

TEST_P(Abandoned, GivesItsNameToTheNextOfThatName) {
    ASSERT_EQ(mountFor(goneOwner()).status, 0);
    const std::string other = copyOf("hfsplus-gpt-zlib-stub-app.dmg", "other.dmg");
    EXPECT_EQ(mount({"mount", other}).status, 0);
    EXPECT_TRUE(isThere());
    EXPECT_FALSE(fs::exists(folder() + " 1"));
}

TEST_P(Abandoned, StaysWhileItsApplicationLives) {
    ASSERT_EQ(mountFor(livingOwner()).status, 0);
    EXPECT_EQ(hdiutil({"info"}).status, 0);
    EXPECT_TRUE(isThere());
}

TEST_P(Abandoned, StaysWhenItWasAttachedByAPersonOrAScript) {
    for (const char* name : {"", "nobody", "0 0", "1"}) {
        ASSERT_EQ(mountFor(name).status, 0);
        EXPECT_EQ(hdiutil({"info"}).status, 0);
        EXPECT_TRUE(isThere()) << name;
    }
}

TEST_P(Abandoned, StaysWhileSomebodyUsesIt) {
    ASSERT_EQ(mountFor(goneOwner()).status, 0);
    {
        const std::ifstream open(folder() + "/Transmission.app/Contents/Info.plist");
        ASSERT_TRUE(open.is_open());
        EXPECT_EQ(hdiutil({"info"}).status, 0);
        EXPECT_TRUE(isThere());
    }
    EXPECT_EQ(hdiutil({"info"}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Abandoned, StaysWhenAnotherApplicationHasAttachedItToo) {
    {
        const Running first({"sleep", "1000"});
        ASSERT_EQ(mountFor(textOf(base::ProcessIdentity::of(first.pid()))).status, 0);
        ASSERT_EQ(mountFor(livingOwner()).status, 0);
    }
    EXPECT_EQ(hdiutil({"info"}).status, 0);
    EXPECT_TRUE(isThere());
}

TEST_P(Abandoned, StaysWhenAPersonHasAttachedItToo) {
    {
        const Running first({"sleep", "1000"});
        ASSERT_EQ(mountFor(textOf(base::ProcessIdentity::of(first.pid()))).status, 0);
        ASSERT_EQ(mountFor("").status, 0);
    }
    EXPECT_EQ(hdiutil({"info"}).status, 0);
    EXPECT_TRUE(isThere());
}

} // namespace
} // namespace hdi::test
