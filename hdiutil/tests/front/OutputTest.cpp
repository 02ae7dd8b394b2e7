#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

// What becomes of a verb whose outputs cannot be written, or were closed by whoever started it.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

// `words` with the shell's `redirections`; everything the shell itself has to say goes to its own standard error.
Outcome redirected(const std::string& redirections, const Words& words) {
    Words all = {"sh", "-c", "exec \"$@\" " + redirections, "sh"};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(all);
}

constexpr const char* kClosings[] = {"", "<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"};

bool closesOutput(const std::string& closing) {
    return (" " + closing).find(" >&-") != std::string::npos;
}

class Output : public BothWays {
protected:
    static Outcome withClosed(const std::string& closing, const Words& words) {
        return redirected(closing, inWay(GetParam(), command(words)));
    }
};
INSTANTIATE_TEST_SUITE_P(Both, Output, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

// A number that the caller left free must not be given to what the verb opens for itself.
TEST_P(Output, OfMountMayBeClosedInEveryCombination) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    for (const std::string closing : kClosings) {
        const Outcome outcome = withClosed(closing, {"mount", path});
        EXPECT_TRUE(outcome.sawEnd) << closing;
        EXPECT_EQ(outcome.status, closesOutput(closing) ? 1 : 0) << closing;
        EXPECT_EQ(fs::exists(volumes() + "/Transmission"), !closesOutput(closing)) << closing;
        if (!closesOutput(closing)) {
            EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
        }
        EXPECT_THAT(leftovers(), IsEmpty()) << closing;
    }
}

TEST_P(Output, OfAQuietMountIsNotMissed) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    for (const std::string closing : kClosings) {
        EXPECT_EQ(withClosed(closing, {"attach", "-quiet", path}).status, 0) << closing;
        EXPECT_TRUE(fs::exists(volumes() + "/Transmission/Transmission.app")) << closing;
        EXPECT_EQ(withClosed(closing, {"eject", "-quiet", "/Volumes/Transmission"}).status, 0) << closing;
        EXPECT_THAT(leftovers(), IsEmpty()) << closing;
    }
}

TEST_P(Output, OfAMountThatNobodyCanBeToldOfTakesItBack) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    const Outcome outcome = withClosed(">/dev/full", {"mount", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "hdiutil: standard output - No space left on device\n");
    EXPECT_THAT(leftovers(), IsEmpty());
}

// Somebody else was told of it.
TEST_P(Output, OfASecondMountLeavesTheFirst) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    ASSERT_EQ(mount({"mount", path}).status, 0);
    EXPECT_EQ(withClosed(">/dev/full", {"mount", path}).status, 1);
    EXPECT_TRUE(fs::exists(volumes() + "/Transmission/Transmission.app"));
}

class OtherOutput : public FrontWorld {
protected:
    // The verbs that print on standard output when all goes well; attachImage() before each.
    std::vector<Words> printingVerbs() {
        const std::string path = base() + "/image.dmg";
        fs::create_directories(base() + "/source");
        return {{"info"},
                {"info", "-plist"},
                {"imageinfo", path},
                {"imageinfo", "-plist", path},
                {"create", "-ov", "-srcfolder", base() + "/source", "-volname", "V", base() + "/new.dmg"},
                {"--help"},
                {"--version"},
                {"unmount", "/Volumes/Transmission"},
                {"detach", "disk2"}};
    }

    void attachImage() {
        const std::string path = base() + "/image.dmg";
        if (!fs::exists(path)) {
            copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
        }
        EXPECT_EQ(hdiutil({"mount", path}).status, 0);
    }
};

TEST_F(OtherOutput, MayBeClosedInEveryCombination) {
    for (const std::string closing : kClosings) {
        for (const Words& words : printingVerbs()) {
            attachImage();
            const Outcome outcome = redirected(closing, command(words));
            EXPECT_TRUE(outcome.sawEnd) << words.front() << closing;
            EXPECT_EQ(outcome.status, closesOutput(closing) ? 1 : 0) << words.front() << " " << closing << outcome.err;
        }
        EXPECT_EQ(redirected(closing, command({"verify", base() + "/image.dmg"})).status, 0) << closing;
        EXPECT_EQ(redirected(closing, command({"verify", base() + "/none"})).status, 1) << closing;
        EXPECT_EQ(redirected(closing, command({"no such verb"})).status, 64) << closing;
    }
}

TEST_F(OtherOutput, ThatCannotBeWrittenIsAFailure) {
    for (const Words& words : printingVerbs()) {
        attachImage();
        const Outcome outcome = redirected(">/dev/full", command(words));
        EXPECT_EQ(outcome.status, 1) << words.front();
        EXPECT_EQ(outcome.err, "hdiutil: standard output - No space left on device\n") << words.front();
    }
    EXPECT_THAT(leftovers(), IsEmpty());
}

// As macOS's own reader would: a parser that takes nothing that is not well-formed.
TEST_F(OtherOutput, AsAPropertyListIsWellFormedForEveryPath) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg", "\xff <&> \x01 \xc3\xa4 \xed\xa0\x80.dmg");
    const Outcome mounted = hdiutil({"mount", "-plist", path});
    EXPECT_EQ(mounted.status, 0);
    const Outcome outcome =
        runProgram({"python3", "-c",
                    "import plistlib, subprocess, sys\n"
                    "list = plistlib.loads(subprocess.run(sys.argv[1:], stdout=subprocess.PIPE, check=True).stdout)\n"
                    "print(ascii(list['images'][0]['image-path'].split('/')[-1]))",
                    HDIUTIL_PROGRAM, "info", "-plist"});
    EXPECT_EQ(outcome.out, "'\\ufffd <&> \\ufffd \\xe4 \\ufffd\\ufffd\\ufffd.dmg'\n") << outcome.err;
}

} // namespace
} // namespace hdi::test
