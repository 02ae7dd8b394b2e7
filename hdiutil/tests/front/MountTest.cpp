#include "base/Files.h"
#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kLicenceTable =
    "/dev/disk2          \tApple_partition_scheme         \t\n"
    "/dev/disk2s1        \tApple_partition_map            \t\n"
    "/dev/disk2s2        \tApple_HFS                      \t/Volumes/Sparkle Test App\n";

class Mount : public BothWays {};
INSTANTIATE_TEST_SUITE_P(Both, Mount, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

TEST_P(Mount, PrintsOnlyTheTableOnStandardOutput) {
    const Outcome outcome = mount({"mount", copyOf("hfsplus-apm-bzip2-licence.dmg")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, kLicenceTable);
}

TEST_P(Mount, PrintsTheLicenceOnStandardErrorAndGoesOn) {
    const Outcome outcome = mount({"attach", copyOf("hfsplus-apm-bzip2-licence.dmg")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "Blah blah blah blah blah blah, ok.. Agree.\n");
}

// Whoever reads the output through a pipe waits for its end, and nobody may hold it open until the volume goes.
TEST_P(Mount, KeepsNoneOfTheCallersDescriptors) {
    const Outcome outcome = mount({"mount", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    EXPECT_TRUE(outcome.sawEnd);
    EXPECT_TRUE(fs::exists(volumes() + "/Transmission/Transmission.app"));
}

class MountDaemon : public FrontWorld {};

// Small files that follow on each other are given to the kernel before it asks for them: they must be the right ones.
TEST_F(MountDaemon, GivesEveryOfManySmallFilesReadInOrder) {
    for (int i = 0; i < 1000; ++i) {
        const std::string folder = base() + "/source/" + std::to_string(i % 3);
        fs::create_directories(folder);
        std::ofstream(folder + "/file " + std::to_string(i)) << std::string(static_cast<std::size_t>(i) * 31, 'x') << i;
    }
    const std::string path = base() + "/small.dmg";
    ASSERT_EQ(hdiutil({"create", "-srcfolder", base() + "/source", "-volname", "Small", path}).status, 0);
    ASSERT_EQ(hdiutil({"mount", path}).status, 0);
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(runProgram({"diff", "-r", base() + "/source", volumes() + "/Small"}).out, "");
    }
}

TEST_F(MountDaemon, HasOnlyTheImageTheDeviceAndASessionOfItsOwn) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    std::ofstream(base() + "/of the caller") << "x";
    const Outcome outcome = runProgram({"sh", "-c",
                                        "cd " + shellWord(base()) + "; exec 5<'of the caller' 9<'of the caller'; " +
                                            shellWord(HDIUTIL_PROGRAM) + " mount " + shellWord(path)});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const AttachRecord record = parseRecord(base::readSmallFile(volumes() + "/.hdiutil/disk2").value()).value();
    const std::string process = "/proc/" + std::to_string(record.process.pid);
    std::set<std::string> opened;
    for (const auto& entry : fs::directory_iterator(process + "/fd")) {
        opened.insert(fs::read_symlink(entry.path()).string());
    }
    EXPECT_THAT(opened, testing::ElementsAre("/dev/fuse", "/dev/null", path));
    EXPECT_EQ(fs::read_symlink(process + "/cwd"), "/");
    EXPECT_EQ(getsid(record.process.pid), record.process.pid);
}

// The module lies beside the program, so a program that was copied alone has none.
TEST_P(Mount, SaysWhyApfsCannotBeReadWithoutItsModule) {
    fs::create_directories(base() + "/alone");
    const std::string program = base() + "/alone/hdiutil";
    fs::copy_file(HDIUTIL_PROGRAM, program);
    const Outcome outcome = runProgram(inWay(GetParam(), {program, "mount", copyOf("apfs-gpt-zlib-one-file.dmg")}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("hdiutil: attach failed - APFS cannot be read here: libhdiutil_apfs.so: "));
}

TEST_P(Mount, GivesATakenNameANumber) {
    fs::create_directories(volumes() + "/Transmission");
    fs::create_directories(volumes() + "/Transmission 1");
    const Outcome outcome = mount({"mount", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    EXPECT_THAT(outcome.out, HasSubstr("\t/Volumes/Transmission 2\n"));
    EXPECT_TRUE(fs::exists(volumes() + "/Transmission 2/Transmission.app"));
    hdiutil({"detach", "disk2"});
    EXPECT_EQ(leftovers().size(), 2U); // the two that are not ours
    fs::remove_all(volumes());
}

TEST_P(Mount, GivesTheRowsAgainForAnImageThatIsAttached) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    const Outcome first = mount({"mount", path});
    fs::create_hard_link(path, base() + "/second name.dmg");
    // The link changed one of the times that tell two states of a file apart.
    hdiutil({"detach", "disk2"});
    const Outcome again = mount({"mount", path});
    const Outcome third = mount({"mount", base() + "/second name.dmg"});
    EXPECT_EQ(first.out, again.out);
    EXPECT_EQ(third.out, again.out);
    EXPECT_EQ(third.status, 0);
}

TEST_P(Mount, TakesAChangedFileForAnotherImage) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    mount({"mount", path});
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(2));
    EXPECT_THAT(mount({"mount", path}).out, HasSubstr("/dev/disk3s1        \tApple_HFS                      "
                                                      "\t/Volumes/Transmission 1\n"));
}

TEST_P(Mount, PutsTwoImagesOfOneNameSideBySideWhenStartedAtOnce) {
    Words images;
    for (int i = 0; i < 4; ++i) {
        images.push_back(copyOf("hfsplus-gpt-zlib-stub-app.dmg", std::to_string(i) + ".dmg"));
    }
    std::vector<std::string> outputs(images.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < images.size(); ++i) {
        threads.emplace_back([&, i] {
            const Outcome outcome = mount({"mount", images[i]});
            outputs[i] = outcome.out + outcome.err;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Words points;
    for (const std::string& output : outputs) {
        points.push_back(output.substr(output.rfind('\t') + 1));
    }
    EXPECT_THAT(points, testing::UnorderedElementsAre("/Volumes/Transmission\n", "/Volumes/Transmission 1\n",
                                                      "/Volumes/Transmission 2\n", "/Volumes/Transmission 3\n"));
}

TEST_P(Mount, AttachesOneImageOnceWhenStartedFourTimesAtOnce) {
    const std::string path = copyOf("hfsplus-apm-bzip2-licence.dmg");
    std::vector<std::string> outputs(4);
    std::vector<std::thread> threads;
    for (std::string& output : outputs) {
        threads.emplace_back([&] { output = mount({"mount", path}).out; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(outputs, Words(4, kLicenceTable));
    hdiutil({"detach", "disk2"});
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Mount, UsesTheWantedMountPoint) {
    fs::create_directories(base() + "/my place");
    const Outcome outcome =
        mount({"attach", "-mountpoint", base() + "/my place", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    EXPECT_THAT(outcome.out, HasSubstr("\t" + base() + "/my place\n"));
    EXPECT_TRUE(fs::exists(base() + "/my place/Transmission.app"));
    EXPECT_EQ(hdiutil({"detach", base() + "/my place"}).status, 0);
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(base() + "/my place"))); // the folder was there before
    EXPECT_THAT(leftovers(), IsEmpty());
}

// Nobody finds it at the place that was asked for, so this is no success.
TEST_P(Mount, RefusesAnotherMountPointForWhatIsAttachedAlready) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    ASSERT_EQ(mount({"mount", path}).status, 0);
    const Outcome outcome = mount({"attach", "-mountpoint", base() + "/place", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - already attached as /dev/disk2; detach it to have it at another "
                           "mount point\n");
    EXPECT_FALSE(fs::exists(base() + "/place"));
    EXPECT_TRUE(fs::exists(volumes() + "/Transmission/Transmission.app"));
}

TEST_P(Mount, TakesTheSameMountPointAgain) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    ASSERT_EQ(mount({"attach", "-mountpoint", base() + "/place", path}).status, 0);
    const Outcome again = mount({"attach", "-mountpoint", base() + "/./place/", path});
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.out, HasSubstr("\t" + base() + "/place\n"));
}

TEST_P(Mount, MakesAMissingMountPointThatGoesWithDetach) {
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    ASSERT_EQ(mount({"attach", "-mountpoint", base() + "/place", path}).status, 0);
    EXPECT_TRUE(fs::exists(base() + "/place/Transmission.app"));
    EXPECT_EQ(hdiutil({"detach", base() + "/place"}).status, 0);
    EXPECT_FALSE(fs::exists(base() + "/place"));
    const Outcome outcome = mount({"attach", "-mountpoint", base() + "/no/place", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("No such file or directory"));
}

TEST_P(Mount, RefusesAMountPointThatIsNotEmpty) {
    fs::create_directories(base() + "/full/folder");
    const Outcome outcome = mount({"attach", "-mountpoint", base() + "/full", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("is not an empty folder"));
}

TEST_P(Mount, PrintsAPropertyListInsteadWhenAsked) {
    const Outcome outcome = mount({"mount", "-plist", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
    EXPECT_THAT(outcome.out, HasSubstr("<key>system-entities</key>"));
    EXPECT_THAT(outcome.out, HasSubstr("<string>/Volumes/Transmission</string>"));
}

TEST_P(Mount, PrintsNothingWhenQuiet) {
    const Outcome outcome = mount({"mount", "-quiet", copyOf("hfsplus-apm-bzip2-licence.dmg")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_TRUE(fs::exists(volumes() + "/Sparkle Test App"));
}

TEST_P(Mount, RefusesADiskOfZeros) {
    const std::string path = base() + "/zeros.img";
    std::ofstream(path).put('\0');
    fs::resize_file(path, 1 << 20);
    const Outcome outcome = mount({"mount", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - image not recognized\n");
}

struct Refusal {
    const char* what;
    const char* message;
    void (*make)(const std::string& path);
};

void truncate(const std::string& path) {
    fs::resize_file(path, fs::file_size(path) / 2);
}

void writeGarbage(const std::string& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    for (int i = 0; i < 100000; ++i) {
        file.put(static_cast<char>(i * 7919 >> 5));
    }
}

// Four bytes in the middle of the compressed data.
void damageData(const std::string& path) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(9000);
    file.write("\x11\x22\x33\x44", 4);
}

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.what;
}

const Refusal kRefusals[] = {
    {"Truncated", "hdiutil: attach failed - image not recognized\n", truncate},
    {"Garbage", "hdiutil: attach failed - image not recognized\n", writeGarbage},
    {"Empty", "hdiutil: attach failed - image not recognized\n", [](const auto& path) { fs::resize_file(path, 0); }},
    {"Missing", "hdiutil: attach failed - No such file or directory\n", [](const auto& path) { fs::remove(path); }},
    {"Damaged", "hdiutil: attach failed - image data corrupted (", damageData},
    {"Folder", "hdiutil: attach failed - image not recognized\n",
     [](const auto& path) {
         fs::remove(path);
         fs::create_directory(path);
     }},
};

class MountRefusal : public FrontWorld, public testing::WithParamInterface<std::tuple<Way, Refusal>> {};
INSTANTIATE_TEST_SUITE_P(Table, MountRefusal,
                         testing::Combine(testing::Values(Way::kFuse, Way::kExtracted), testing::ValuesIn(kRefusals)),
                         [](const auto& instance) {
                             return std::get<1>(instance.param).what + nameOf(std::get<0>(instance.param));
                         });

TEST_P(MountRefusal, HasNoOutputAMessageAndAStatus) {
    const auto& [way, refusal] = GetParam();
    const std::string path = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    refusal.make(path);
    const Outcome outcome = hdiutil(way, {"mount", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, testing::StartsWith(refusal.message));
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Mount, SaysThatEncryptedImagesAreNotSupported) {
    const Outcome outcome = mount({"mount", copyOf("encrypted.dmg")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - the image is encrypted; -stdinpass reads its password\n");
}

// A disk with one Linux partition of zeros.
TEST_P(Mount, ReportsAnImageWithNothingToMount) {
    const std::string path = base() + "/linux.img";
    std::ofstream(path).put('\0');
    fs::resize_file(path, 1 << 20);
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(446).write("\0\0\0\0\x83\0\0\0\x40\0\0\0\0\1\0\0", 16);
    file.seekp(510).write("\x55\xaa", 2);
    file.close();
    const Outcome outcome = mount({"mount", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - no mountable file systems\n");
}

// The damaged chunk itself does not decode; without the check, everything else can be read.
TEST_P(Mount, ShowsADamagedImageOnlyWithoutTheCheck) {
    const std::string path = copyOf("hfsplus-apm-bzip2-licence.dmg");
    std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).seekp(600000).write("abcdefgh", 8);
    EXPECT_EQ(mount({"mount", path}).status, 1);
    const Outcome outcome = mount({"mount", "-noverify", path});
    if (GetParam() == Way::kFuse) {
        EXPECT_EQ(outcome.status, 0);
        EXPECT_TRUE(fs::exists(volumes() + "/Sparkle Test App/SparkleTestCodeSignApp.app"));
    } else { // everything is read, so the damage is met
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
    }
}

} // namespace
} // namespace hdi::test
