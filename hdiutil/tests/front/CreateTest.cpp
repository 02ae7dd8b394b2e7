#include "hdiutil/tests/front/FrontWorld.h"
#include "hdiutil/tests/volume/VolumeTree.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

void write(const fs::path& path, const std::string& text, fs::perms mode) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    fs::permissions(path, mode);
}

ino_t inodeOf(const fs::path& path) {
    struct stat facts {};
    EXPECT_EQ(stat(path.c_str(), &facts), 0) << path;
    return facts.st_ino;
}

// An application with a script, a real program behind a framework's symlinks, hard links, odd names and a big file.
class Created : public FrontWorld {
protected:
    void SetUp() override {
        FrontWorld::SetUp();
        const fs::path app = fs::path(source()) / "Setup.app/Contents";
        write(app / "MacOS/setup", "#!/bin/sh\necho \"script $1\"\n", fs::perms(0755));
        const fs::path framework = app / "Frameworks/Tool.framework";
        fs::create_directories(framework / "Versions/A");
        fs::copy_file("/bin/echo", framework / "Versions/A/Tool");
        fs::permissions(framework / "Versions/A/Tool", fs::perms(0755));
        fs::create_symlink("A", framework / "Versions/Current");
        fs::create_symlink("Versions/Current/Tool", framework / "Tool");
        write(app / "one", "same contents", fs::perms(0640));
        fs::create_hard_link(app / "one", app / "two");
        write(app / "Resources/\xC3\xA9t\xC3\xA9 \xE2\x98\x83", "name", fs::perms(0444));
        write(app / "Resources/empty", "", fs::perms(0600));
        std::string big;
        for (unsigned i = 0; big.size() < 2500000; ++i) {
            big += std::to_string(i * 2654435761U) + (i % 3 == 0 ? std::string(20, 'x') : "\n");
        }
        write(app / "Resources/big", big, fs::perms(0644));
        fs::create_directories(fs::path(source()) / "empty folder");
        fs::permissions(fs::path(source()) / "empty folder", fs::perms(0750));
    }

    std::string source() const { return base() + "/source"; }
    std::string made() const { return base() + "/made.dmg"; }
    std::string mounted() const { return volumes() + "/My Installer"; }
    Outcome create(const Words& options) const {
        Words words = {"create", "-srcfolder", source(), "-volname", "My Installer"};
        words.insert(words.end(), options.begin(), options.end());
        words.push_back(made());
        return hdiutil(words);
    }
};

class CreatedImage : public Created, public testing::WithParamInterface<std::tuple<Way, const char*, const char*>> {};
INSTANTIATE_TEST_SUITE_P(Formats, CreatedImage,
                         testing::Combine(testing::Values(Way::kFuse, Way::kExtracted),
                                          testing::Values("UDRO", "UDZO", "UDBZ", "ULMO", "ULFO"),
                                          testing::Values("NONE", "GPTSPUD", "SPUD")),
                         [](const auto& instance) {
                             return std::get<1>(instance.param) + std::string("On") + std::get<2>(instance.param) +
                                    nameOf(std::get<0>(instance.param));
                         });

TEST_P(CreatedImage, ShowsTheTreeItWasMadeFrom) {
    const auto& [way, format, layout] = GetParam();
    const Outcome creation = create({"-format", format, "-layout", layout});
    ASSERT_EQ(creation.status, 0) << creation.err;
    EXPECT_EQ(creation.out, "created: " + made() + "\n");
    const Outcome outcome = hdiutil(way, {"mount", made()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, testing::EndsWith("\t/Volumes/My Installer\n"));
    EXPECT_EQ(withoutLinkModes(readFolder(mounted())), withoutLinkModes(readFolder(source())));
    EXPECT_EQ(inodeOf(mounted() + "/Setup.app/Contents/one"), inodeOf(mounted() + "/Setup.app/Contents/two"));
}

TEST_P(CreatedImage, ShowsTheTreeThat7ZipReads) {
    const auto& [way, format, layout] = GetParam();
    ASSERT_EQ(create({"-format", format, "-layout", layout}).status, 0);
    ASSERT_EQ(hdiutil(way, {"mount", made()}).status, 0);
    Tree expected = readWith7z(made(), base() + "/7z");
    // 7-Zip shows each name of a file with several as an empty file of its own: there the source is what counts.
    const Tree source = readFolder(this->source());
    for (const char* name : {"Setup.app/Contents/one", "Setup.app/Contents/two"}) {
        EXPECT_EQ(expected.at(name).contents, "");
        expected.at(name) = source.at(name);
    }
    EXPECT_EQ(expected.size(), 18U);
    EXPECT_EQ(withoutLinkModes(readFolder(mounted())), withoutLinkModes(expected));
}

TEST_P(CreatedImage, PassesItsOwnCheckAnd7Zips) {
    const auto& [way, format, layout] = GetParam();
    ASSERT_EQ(create({"-format", format, "-layout", layout, "-fs", "HFSX"}).status, 0);
    EXPECT_EQ(hdiutil({"verify", made()}).err, "hdiutil: verify: checksums of \"" + made() + "\" are VALID\n");
    EXPECT_EQ(runProgram({SEVEN_ZIP, "t", made()}).status, 0);
}

class CreatedApp : public Created, public testing::WithParamInterface<Way> {};
INSTANTIATE_TEST_SUITE_P(Both, CreatedApp, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

TEST_P(CreatedApp, RunsItsScriptsAndTheProgramsBehindItsSymlinks) {
    ASSERT_EQ(create({}).status, 0);
    ASSERT_EQ(hdiutil(GetParam(), {"mount", made()}).status, 0);
    const std::string contents = mounted() + "/Setup.app/Contents";
    EXPECT_EQ(runProgram({contents + "/MacOS/setup", "--a --b"}).out, "script --a --b\n");
    EXPECT_EQ(runProgram({contents + "/Frameworks/Tool.framework/Tool", "program"}).out, "program\n");
}

TEST_F(Created, StaysWhenAFileOfThatNameIsThere) {
    std::ofstream(made()) << "precious";
    const Outcome outcome = create({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "hdiutil: create failed - File exists\n");
    EXPECT_EQ(fs::file_size(made()), 8U);
    EXPECT_EQ(create({"-ov"}).status, 0);
    EXPECT_GT(fs::file_size(made()), 8U);
}

// A file without a name could not be given one then.
TEST_F(Created, IsMadeWithoutSightOfItsDescriptorsToo) {
    Words words = {"sh", "-c", "mount -t tmpfs none /proc/$$/fd && exec \"$@\"", "sh"};
    const Words creation = command({"create", "-srcfolder", source(), "-volname", "V", "-format", "UDRO", made()});
    words.insert(words.end(), creation.begin(), creation.end());
    const Outcome outcome = runProgram(inMountNamespace(words));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(hdiutil({"verify", made()}).status, 0);
    EXPECT_EQ(fs::status(made()).permissions(), fs::perms(0644));
    Words names;
    for (const auto& entry : fs::directory_iterator(base())) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("made.dmg", "root", "source", "tmp"));
}

// A script looks for the volume under the name it gave.
TEST_F(Created, HasNoNameThatItCouldNotBeMountedUnder) {
    fs::create_directories(base() + "/source");
    for (const std::string name : {"blank ", " blank", "line\nend", " ", ".", "\x7f"}) {
        const Outcome outcome =
            hdiutil({"create", "-srcfolder", base() + "/source", "-volname", name, base() + "/new.dmg"});
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_THAT(outcome.err, HasSubstr("create failed - no volume can be mounted under the name \"" + name));
        EXPECT_FALSE(fs::exists(base() + "/new.dmg"));
    }
    const std::string path = base() + "/new.dmg";
    ASSERT_EQ(hdiutil({"create", "-srcfolder", base() + "/source", "-volname", "a / b", path}).status, 0);
    EXPECT_THAT(hdiutil({"mount", path}).out, HasSubstr("\t/Volumes/a : b\n"));
}

TEST_F(Created, NeedsAFolder) {
    const Outcome outcome = hdiutil({"create", "-srcfolder", base() + "/none", "-volname", "X", made()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("create failed - No such file or directory"));
    EXPECT_FALSE(fs::exists(made()));
}

// `script` gives the program a terminal.
TEST_F(Created, ShowsProgressOnATerminalOnly) {
    EXPECT_EQ(create({}).err, "");
    const Outcome outcome =
        runProgram({"script", "-qec", shellWord(HDIUTIL_PROGRAM) + " verify " + shellWord(made()), "/dev/null"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("Verifying: ["));
}

} // namespace
} // namespace hdi::test
