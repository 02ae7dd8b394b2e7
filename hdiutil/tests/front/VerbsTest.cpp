#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/front/FrontWorld.h"
#include "hdiutil/tests/image/TestBytes.h"
#include "hdiutil/tests/volume/HfsBuilder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

// The verbs as a user types them: what stands on which output, word for word, and the status.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

class Verbs : public FrontWorld {
protected:
    // With a terminal as its standard error; what the terminal shows, its own line ends included.
    static Outcome onTerminal(const Words& words) {
        std::string line;
        for (const std::string& word : command(words)) {
            line += shellWord(word) + " ";
        }
        return runProgram({"script", "-qec", line, "/dev/null"});
    }

    static void expectOutput(const Outcome& outcome, int status, const std::string& out, const std::string& err) {
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.err, err);
    }
};

TEST_F(Verbs, HelpAndVersionGoToStandardOutput) {
    for (const char* word : {"--help", "-h", "help"}) {
        const Outcome outcome = hdiutil({word});
        EXPECT_EQ(outcome.status, 0) << word;
        EXPECT_THAT(outcome.out, testing::StartsWith("Usage: hdiutil VERB [OPTIONS] [ARGUMENT]\n")) << word;
        EXPECT_EQ(outcome.err, "") << word;
    }
    for (const char* word : {"--version", "version"}) {
        const Outcome outcome = hdiutil({word});
        EXPECT_EQ(outcome.status, 0) << word;
        EXPECT_THAT(outcome.out, testing::MatchesRegex("hdiutil [0-9]+\\.[0-9]+\\.[0-9]+\n")) << word;
        EXPECT_EQ(outcome.err, "") << word;
    }
}

TEST_F(Verbs, AMistakeIsToldOnStandardErrorWithStatus64) {
    expectOutput(hdiutil({"burn"}), 64, "", "hdiutil: \"burn\" is not a verb\nhdiutil: try \"hdiutil --help\"\n");
    expectOutput(hdiutil({}), 64, "", "hdiutil: no verb given\nhdiutil: try \"hdiutil --help\"\n");
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(Verbs, InfoOfNothingIsNothing) {
    expectOutput(hdiutil({"info"}), 0, "", "");
    EXPECT_THAT(hdiutil({"info", "-plist"}).out, HasSubstr("<key>images</key>\n\t<array/>\n"));
    EXPECT_THAT(leftovers(), IsEmpty());
}

class AttachedVerbs : public Verbs, public testing::WithParamInterface<Way> {
protected:
    static Outcome mount(const Words& words) { return hdiutil(GetParam(), words); }
};
INSTANTIATE_TEST_SUITE_P(Both, AttachedVerbs, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

TEST_P(AttachedVerbs, InfoListsEveryImageWithItsTable) {
    const std::string first = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    const std::string second = copyOf("hfsplus-apm-bzip2-licence.dmg");
    mount({"mount", first});
    mount({"mount", second});
    const Outcome outcome =
        runProgram({"sh", "-c", shellWord(HDIUTIL_PROGRAM) + " info | sed '/^process ID  *: [0-9]*$/d'"});
    const std::string rule = "================================================\n";
    const std::string facts = std::string("writeable       : FALSE\nmethod          : ") +
                              (GetParam() == Way::kFuse ? "fuse" : "extracted") + "\n";
    EXPECT_EQ(outcome.out, rule + "image-path      : " + first + "\n" + facts +
                               "/dev/disk2          \tGUID_partition_scheme          \t\n"
                               "/dev/disk2s1        \tApple_HFS                      \t/Volumes/Transmission\n" +
                               rule + "image-path      : " + second + "\n" + facts +
                               "/dev/disk3          \tApple_partition_scheme         \t\n"
                               "/dev/disk3s1        \tApple_partition_map            \t\n"
                               "/dev/disk3s2        \tApple_HFS                      \t/Volumes/Sparkle Test App\n");
}

TEST_P(AttachedVerbs, InfoIsAlsoAPropertyList) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg", "a & b.dmg");
    mount({"mount", path});
    const std::string plist = hdiutil({"info", "-plist"}).out;
    std::ofstream(base() + "/info.plist") << plist;
    const Outcome read =
        runProgram({"python3", "-c",
                    "import plistlib, sys\n"
                    "image, = plistlib.load(open(sys.argv[1], 'rb'))['images']\n"
                    "print(image['image-path'], image['writeable'], image['method'])\n"
                    "for e in image['system-entities']:\n"
                    "    print(e['dev-entry'], e['content-hint'], e['potentially-mountable'], e.get('mount-point'))\n",
                    base() + "/info.plist"});
    EXPECT_EQ(read.out, path + " False " + (GetParam() == Way::kFuse ? "fuse" : "extracted") +
                            "\n/dev/disk2 GUID_partition_scheme False None\n"
                            "/dev/disk2s1 Apple_HFS True /Volumes/Transmission\n")
        << read.err;
}

TEST_P(AttachedVerbs, AttachPrintsAPropertyListOfTheSameRows) {
    std::ofstream(base() + "/rows.plist") << mount({"attach", "-plist", copyOf("hfsplus-apm-bzip2-licence.dmg")}).out;
    const Outcome read = runProgram({"python3", "-c",
                                     "import plistlib, sys\n"
                                     "for e in plistlib.load(open(sys.argv[1], 'rb'))['system-entities']:\n"
                                     "    print(e['dev-entry'], e['content-hint'], e.get('mount-point'))\n",
                                     base() + "/rows.plist"});
    EXPECT_EQ(read.out, "/dev/disk2 Apple_partition_scheme None\n"
                        "/dev/disk2s1 Apple_partition_map None\n"
                        "/dev/disk2s2 Apple_HFS /Volumes/Sparkle Test App\n")
        << read.err;
}

TEST_P(AttachedVerbs, AttachTakesReadonlyAndNobrowse) {
    expectOutput(mount({"attach", "-readonly", "-nobrowse", copyOf("hfsplus-gpt-zlib-stub-app.dmg")}), 0,
                 "/dev/disk2          \tGUID_partition_scheme          \t\n"
                 "/dev/disk2s1        \tApple_HFS                      \t/Volumes/Transmission\n",
                 "");
}

TEST_P(AttachedVerbs, EjectDoesWhatDetachDoes) {
    mount({"mount", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    std::ifstream open(volumes() + "/Transmission/Transmission.app/Contents/Info.plist");
    expectOutput(hdiutil({"eject", "disk2"}), 16, "", "hdiutil: couldn't unmount \"disk2\" - Resource busy\n");
    expectOutput(hdiutil({"eject", "-force", "disk2"}), 0, "\"disk2\" ejected.\n", "");
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(AttachedVerbs, DetachSaysNothingWhenQuiet) {
    mount({"mount", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    expectOutput(hdiutil({"detach", "-quiet", "disk2"}), 0, "", "");
    expectOutput(hdiutil({"detach", "-quiet", "disk2"}), 1, "", "");
}

// A disk with two volumes of one name, behind a partition map of the oldest kind.
Bytes twoVolumes() {
    const auto volume = [](const std::string& contents) {
        HfsBuilder builder(HfsBuilder::Names::kHfsPlus, u"Twin");
        builder.file(HfsBuilder::kRoot, u"which", bytesOf(contents));
        return builder.build();
    };
    Bytes disk(64 * 512);
    std::size_t entry = 446;
    for (const char* contents : {"first\n", "second\n"}) {
        Bytes bytes = volume(contents);
        bytes.resize((bytes.size() + 511) / 512 * 512);
        disk[entry + 4] = std::byte{0xAF};
        storeLittle(std::span(disk), entry + 8, static_cast<std::uint32_t>(disk.size() / 512));
        storeLittle(std::span(disk), entry + 12, static_cast<std::uint32_t>(bytes.size() / 512));
        disk = disk + bytes;
        entry += 16;
    }
    disk[510] = std::byte{0x55};
    disk[511] = std::byte{0xAA};
    return disk;
}

TEST_P(AttachedVerbs, UnmountTakesOneVolumeAndDetachTheRest) {
    const std::string path = base() + "/twins.img";
    writeFile(path, twoVolumes());
    expectOutput(mount({"mount", path}), 0,
                 "/dev/disk2          \tFDisk_partition_scheme         \t\n"
                 "/dev/disk2s1        \tApple_HFS                      \t/Volumes/Twin\n"
                 "/dev/disk2s2        \tApple_HFS                      \t/Volumes/Twin 1\n",
                 "");
    EXPECT_TRUE(readFile(volumes() + "/Twin/which") == bytesOf("first\n"));
    EXPECT_TRUE(readFile(volumes() + "/Twin 1/which") == bytesOf("second\n"));
    expectOutput(hdiutil({"unmount", "/Volumes/Twin"}), 0, "\"/Volumes/Twin\" unmounted successfully.\n", "");
    EXPECT_FALSE(fs::exists(volumes() + "/Twin"));
    EXPECT_TRUE(readFile(volumes() + "/Twin 1/which") == bytesOf("second\n"));
    EXPECT_THAT(hdiutil({"info"}).out,
                HasSubstr("/dev/disk2s1        \tApple_HFS                      \t\n"
                          "/dev/disk2s2        \tApple_HFS                      \t/Volumes/Twin 1\n"));
    expectOutput(hdiutil({"detach", "/dev/disk2"}), 0, "\"disk2\" ejected.\n", "");
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(AttachedVerbs, AMountPointIsForImagesWithOneVolume) {
    const std::string path = base() + "/twins.img";
    writeFile(path, twoVolumes());
    expectOutput(mount({"mount", "-mountpoint", base() + "/place", path}), 1, "",
                 "hdiutil: attach failed - -mountpoint is for images with one volume\n");
    EXPECT_FALSE(fs::exists(base() + "/place"));
}

TEST_F(Verbs, ImageInfoDescribesAnImage) {
    expectOutput(hdiutil({"imageinfo", image("hfsplus-apm-bzip2-licence.dmg")}), 0,
                 "Format Description: UDIF read-only compressed (bzip2)\n"
                 "Format: UDBZ\n"
                 "Checksum Type: CRC32\n"
                 "Size Information:\n"
                 "\tTotal Bytes: 9437184\n"
                 "\tCompressed Bytes: 1129865\n"
                 "\tChunks: 10\n"
                 "Properties:\n"
                 "\tEncrypted: false\n"
                 "\tSoftware License Agreement: true\n"
                 "partitions:\n"
                 "\tpartition-scheme: Apple_partition_scheme\n",
                 "");
    std::ofstream(base() + "/info.plist") << hdiutil({"imageinfo", "-plist", image("apfs-gpt-adc-empty.dmg")}).out;
    const Outcome read = runProgram({"python3", "-c",
                                     "import plistlib, sys\n"
                                     "i = plistlib.load(open(sys.argv[1], 'rb'))\n"
                                     "print(i['Format'], i['Checksummed'], i['Size Information']['Total Bytes'])\n"
                                     "print(i['Properties'])\n",
                                     base() + "/info.plist"});
    EXPECT_EQ(read.out, "UDCO True 10510336\n{'Software License Agreement': False, 'Encrypted': False}\n") << read.err;
}

TEST_F(Verbs, VerifyTellsValidFromWrongAndFromNone) {
    const std::string path = copyOf("hfsplus-apm-bzip2-licence.dmg");
    expectOutput(hdiutil({"verify", path}), 0, "", "hdiutil: verify: checksums of \"" + path + "\" are VALID\n");
    std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).seekp(600000).write("abcdefgh", 8);
    const Outcome damaged = hdiutil({"verify", path});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.out, "");
    EXPECT_THAT(damaged.err, testing::MatchesRegex("hdiutil: verify failed - .*checksum.*\n"));
    expectOutput(hdiutil({"verify", "-quiet", path}), 1, "", "");
    const std::string bare = base() + "/bare.img";
    writeFile(bare, twoVolumes());
    expectOutput(hdiutil({"verify", bare}), 0, "", "hdiutil: verify: no checksums in \"" + bare + "\"\n");
}

// A third of real images has no checksum over the file's bytes, only those over the decoded ones.
TEST_F(Verbs, VerifyAndImageInfoAgreeOnWhetherThereIsAChecksum) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    const auto trailer = static_cast<std::streamoff>(fs::file_size(path) - 512);
    std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).seekp(trailer + 80).write("\0\0\0\0", 4);
    expectOutput(hdiutil({"verify", path}), 0, "", "hdiutil: verify: checksums of \"" + path + "\" are VALID\n");
    EXPECT_THAT(hdiutil({"imageinfo", path}).out, HasSubstr("Checksum Type: CRC32\n"));
    EXPECT_THAT(hdiutil({"imageinfo", "-plist", path}).out, HasSubstr("<key>Checksummed</key>\n\t<true/>\n"));
    const std::string bare = base() + "/bare.img";
    writeFile(bare, twoVolumes());
    EXPECT_THAT(hdiutil({"imageinfo", bare}).out, HasSubstr("Checksum Type: none\n"));
}

TEST_F(Verbs, RefuseWhatIsNoImageAndWhatIsEncrypted) {
    std::ofstream(base() + "/garbage") << std::string(5000, 'g');
    for (const std::string verb : {"imageinfo", "verify"}) {
        expectOutput(hdiutil({verb, base() + "/garbage"}), 1, "",
                     "hdiutil: " + verb + " failed - image not recognized\n");
        expectOutput(hdiutil({verb, base()}), 1, "", "hdiutil: " + verb + " failed - image not recognized\n");
        expectOutput(hdiutil({verb, base() + "/none"}), 1, "",
                     "hdiutil: " + verb + " failed - No such file or directory\n");
        expectOutput(hdiutil({verb, image("encrypted.dmg")}), 1, "",
                     "hdiutil: " + verb + " failed - the image is encrypted; -stdinpass reads its password\n");
    }
}

// The bar is drawn on the line, again and again, and wiped in the end.
TEST_F(Verbs, CreateAndVerifyShowTheirProgressOnATerminal) {
    noiseImage(base(), 8);
    const std::string made = base() + "/made.dmg";
    const Outcome creation =
        onTerminal({"create", "-srcfolder", base() + "/source", "-volname", "V", "-format", "UDZO", made});
    EXPECT_EQ(creation.status, 0);
    EXPECT_THAT(creation.out, HasSubstr("\rCreating: ["));
    EXPECT_THAT(creation.out, HasSubstr("] 100%\r\x1b[K"));
    EXPECT_THAT(creation.out, testing::EndsWith("created: " + made + "\r\n"));
    const Outcome check = onTerminal({"verify", made});
    EXPECT_EQ(check.status, 0);
    EXPECT_THAT(check.out, HasSubstr("\rVerifying: ["));
    EXPECT_THAT(check.out, HasSubstr("] 100%\r\x1b[K"));
    EXPECT_THAT(check.out, testing::EndsWith("are VALID\r\n"));
}

TEST_F(Verbs, CreateSaysNothingWhenQuiet) {
    fs::create_directories(base() + "/source");
    expectOutput(hdiutil({"create", "-quiet", "-srcfolder", base() + "/source", "-volname", "V", base() + "/q.dmg"}), 0,
                 "", "");
    EXPECT_TRUE(fs::exists(base() + "/q.dmg"));
}

} // namespace
} // namespace hdi::test
