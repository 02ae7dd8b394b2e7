#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

Words withInput(const std::string& input, const Words& words) {
    Words all = {"sh", "-c", "printf %s \"$0\" | \"$@\"", input};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

std::string slurp(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Converted : public FrontWorld {
protected:
    std::string made(const std::string& name) const { return base() + "/" + name; }
    Outcome convert(const std::string& from, const std::string& format, const std::string& to) const {
        return hdiutil({"convert", from, "-format", format, "-o", made(to)});
    }
};

// Every real image into every format, and from each of those back to the bare disk: always the same bytes.
class ConvertedReal : public Converted, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(All, ConvertedReal,
                         testing::Values("apfs-gpt-adc-empty.dmg", "apfs-gpt-lzfse-empty.dmg",
                                         "apfs-gpt-zlib-one-file.dmg", "hfsplus-apm-bzip2-licence.dmg",
                                         "hfsplus-gpt-zlib-links.dmg", "hfsplus-gpt-zlib-stub-app.dmg"),
                         [](const auto& instance) { return "Nr" + std::to_string(instance.index + 1); });

TEST_P(ConvertedReal, HoldsTheSameDiskInEveryFormat) {
    const Outcome raw = convert(image(GetParam()), "UDRW", "raw.img");
    ASSERT_EQ(raw.status, 0) << raw.err;
    EXPECT_EQ(raw.out, "created: " + made("raw.img") + "\n");
    for (const std::string format : {"UDRO", "UDZO", "UDBZ", "ULMO", "ULFO", "UDTO"}) {
        ASSERT_EQ(convert(image(GetParam()), format, format + ".dmg").status, 0) << format;
        if (format != "UDTO") {
            EXPECT_THAT(hdiutil({"verify", made(format + ".dmg")}).err, EndsWith("are VALID\n"));
            EXPECT_THAT(hdiutil({"imageinfo", made(format + ".dmg")}).out, HasSubstr("Format: " + format + "\n"));
        }
        ASSERT_EQ(convert(made(format + ".dmg"), "UDTO", format + ".img").status, 0) << format;
        EXPECT_TRUE(slurp(made(format + ".img")) == slurp(made("raw.img"))) << format;
    }
}

// The same bytes as another program unpacks.
TEST_P(ConvertedReal, HoldsTheDiskThat7ZipReads) {
    ASSERT_EQ(convert(image(GetParam()), "UDZO", "new.dmg").status, 0);
    const auto unpacked = [&](const std::string& path) {
        return runProgram({"sh", "-c", SEVEN_ZIP " e -so -tdmg \"$0\" '*.hfs' '*.apfs' | sha256sum", path}).out;
    };
    EXPECT_EQ(unpacked(made("new.dmg")), unpacked(image(GetParam())));
    EXPECT_EQ(runProgram({SEVEN_ZIP, "t", made("new.dmg")}).status, 0);
}

TEST_F(Converted, KeepsTheLicence) {
    ASSERT_EQ(convert(image("hfsplus-apm-bzip2-licence.dmg"), "ULFO", "new.dmg").status, 0);
    EXPECT_EQ(hdiutil({"attach", made("new.dmg")}).err, "Blah blah blah blah blah blah, ok.. Agree.\n");
}

TEST_F(Converted, LeavesHolesForZerosInARawDisk) {
    fs::create_directories(base() + "/source");
    std::ofstream(base() + "/source/big").seekp((std::streamoff{64} << 20) - 1).put('x');
    ASSERT_EQ(hdiutil({"create", "-srcfolder", base() + "/source", "-volname", "V", made("a.dmg")}).status, 0);
    ASSERT_EQ(convert(made("a.dmg"), "UDRW", "a.img").status, 0);
    struct stat facts {};
    ASSERT_EQ(stat(made("a.img").c_str(), &facts), 0);
    EXPECT_GT(facts.st_size, std::int64_t{64} << 20);
    EXPECT_LT(facts.st_blocks * 512, std::int64_t{4} << 20);
}

TEST_F(Converted, EncryptsAndDecrypts) {
    const std::string plain = image("hfsplus-gpt-zlib-links.dmg");
    const Outcome locked =
        runProgram(withInput("secret", command({"convert", plain, "-format", "UDRW", "-encryption", "AES-256",
                                                "-stdinpass", "-o", made("locked.dmg")})));
    ASSERT_EQ(locked.status, 0) << locked.err;
    EXPECT_EQ(hdiutil({"verify", made("locked.dmg")}).status, 1);
    const Outcome opened = runProgram(withInput(
        "secret", command({"convert", made("locked.dmg"), "-format", "UDRW", "-stdinpass", "-o", made("opened.img")})));
    ASSERT_EQ(opened.status, 0) << opened.err;
    ASSERT_EQ(convert(plain, "UDRW", "plain.img").status, 0);
    EXPECT_TRUE(slurp(made("opened.img")) == slurp(made("plain.img")));
}

TEST_F(Converted, LeavesNoTraceWhenItFails) {
    const std::string whole = slurp(image("hfsplus-gpt-zlib-stub-app.dmg"));
    std::string damaged = whole;
    damaged.replace(1000, 10000, std::string(10000, 'x'));
    std::ofstream(made("damaged.dmg"), std::ios::binary) << damaged;
    for (const std::string format : {"UDRW", "ULFO"}) {
        const Outcome outcome = convert(made("damaged.dmg"), format, "new.dmg");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, testing::StartsWith("hdiutil: convert failed - "));
        EXPECT_FALSE(fs::exists(made("new.dmg")));
    }
    std::ofstream(made("garbage")) << std::string(5000, 'g');
    EXPECT_EQ(convert(made("garbage"), "UDRW", "new.dmg").err, "hdiutil: convert failed - image not recognized\n");
    EXPECT_EQ(convert(made("none"), "UDRW", "new.dmg").err, "hdiutil: convert failed - No such file or directory\n");
}

TEST_F(Converted, ReplacesAFileOnlyWhenTold) {
    std::ofstream(made("new.dmg")) << "mine";
    const std::string from = image("hfsplus-gpt-zlib-links.dmg");
    EXPECT_EQ(convert(from, "UDRO", "new.dmg").err, "hdiutil: convert failed - File exists\n");
    EXPECT_EQ(slurp(made("new.dmg")), "mine");
    EXPECT_EQ(hdiutil({"convert", from, "-format", "UDRO", "-ov", "-o", made("new.dmg")}).status, 0);
    EXPECT_EQ(hdiutil({"verify", made("new.dmg")}).status, 0);
}

class Extracted : public FrontWorld {
protected:
    std::string target() const { return base() + "/target"; }
    // Kind, mode, size, time and place of everything, and what links say. Linux gives no link a mode of its own.
    static std::string listing(const std::string& folder) {
        return runProgram({"sh", "-c",
                           "cd \"$0\" && find . -mindepth 1 -printf '%y %m %s %T@ %P -> %l\\n' | LC_ALL=C sort -k5 | "
                           "sed 's/^d \\([0-9]*\\) [0-9]* /d \\1 - /; s/^l [0-9]* /l - /'; find . -type f -exec "
                           "sha256sum {} + | LC_ALL=C sort",
                           folder})
            .out;
    }
};

TEST_F(Extracted, TheFolderHoldsWhatTheMountShows) {
    for (const std::string name : {"hfsplus-apm-bzip2-licence.dmg", "hfsplus-gpt-zlib-links.dmg",
                                   "hfsplus-gpt-zlib-stub-app.dmg", "apfs-gpt-zlib-one-file.dmg"}) {
        const std::string path = copyOf(name);
        const Outcome outcome = hdiutil({"extract", path, target()});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        const std::string table = hdiutil({"attach", path}).out;
        const std::string shown = table.substr(table.find("/Volumes/") + 9);
        const std::string mounted = volumes() + "/" + shown.substr(0, shown.find('\n'));
        EXPECT_NE(listing(target()), "");
        EXPECT_EQ(listing(target()), listing(mounted)) << name;
        hdiutil({"detach", "disk2"});
        fs::remove_all(target());
    }
}

TEST_F(Extracted, AnEmptyFolderIsFilledAndAFullOneIsLeftAlone) {
    fs::create_directories(target());
    const std::string path = image("hfsplus-gpt-zlib-stub-app.dmg");
    EXPECT_EQ(hdiutil({"extract", path, target() + "/"}).status, 0);
    EXPECT_TRUE(fs::exists(target() + "/Transmission.app"));
    const std::string before = listing(target());
    EXPECT_EQ(hdiutil({"extract", path, target()}).err,
              "hdiutil: extract failed - Directory not empty (" + target() + ")\n");
    EXPECT_EQ(listing(target()), before);
}

TEST_F(Extracted, NothingIsWrittenThroughALinkOrOverAFile) {
    fs::create_directories(base() + "/elsewhere");
    fs::create_symlink(base() + "/elsewhere", target());
    const std::string path = image("hfsplus-gpt-zlib-stub-app.dmg");
    EXPECT_EQ(hdiutil({"extract", path, target()}).status, 1);
    EXPECT_TRUE(fs::is_empty(base() + "/elsewhere"));
    std::ofstream(base() + "/file") << "mine";
    EXPECT_EQ(hdiutil({"extract", path, base() + "/file"}).status, 1);
    EXPECT_EQ(slurp(base() + "/file"), "mine");
    EXPECT_EQ(hdiutil({"extract", path, base() + "/no/such/folder"}).status, 1);
}

TEST_F(Extracted, ADamagedImageLeavesNothing) {
    std::string damaged = slurp(image("hfsplus-gpt-zlib-stub-app.dmg"));
    damaged.replace(1000, 10000, std::string(10000, 'x'));
    std::ofstream(base() + "/damaged.dmg", std::ios::binary) << damaged;
    fs::create_directories(target());
    const Outcome outcome = hdiutil({"extract", base() + "/damaged.dmg", target()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, testing::StartsWith("hdiutil: extract failed - image data corrupted ("));
    EXPECT_TRUE(fs::is_empty(target()));
    for (const auto& entry : fs::directory_iterator(base())) {
        EXPECT_THAT(entry.path().filename().string(), testing::Not(testing::StartsWith("target.")));
    }
}

TEST_F(Extracted, AnEncryptedImageWantsItsPassword) {
    const Words words = {"extract", "-stdinpass", image("apfs-gpt-lzfse-app-encrypted.dmg"), target()};
    EXPECT_EQ(runProgram(withInput("wrong", command(words))).err, "hdiutil: extract failed - wrong password\n");
    EXPECT_FALSE(fs::exists(target()));
    EXPECT_EQ(runProgram(withInput("testpass", command(words))).status, 0);
    EXPECT_TRUE(fs::exists(target() + "/SparkleTestCodeSignApp.app/Contents/MacOS"));
}

// One image in the ways of storing that others use: a sparse bundle whose bands are pieces of the raw disk.
TEST_F(Extracted, ASparseBundleIsMountedAndExtractedAsItsRawDisk) {
    ASSERT_EQ(hdiutil({"convert", image("hfsplus-gpt-zlib-stub-app.dmg"), "-format", "UDRW", "-o", base() + "/raw.img"})
                  .status,
              0);
    const std::string raw = slurp(base() + "/raw.img");
    const std::string bundle = base() + "/a.sparsebundle";
    fs::create_directories(bundle + "/bands");
    constexpr std::size_t kBand = 65536;
    for (std::size_t i = 0; i * kBand < raw.size(); ++i) {
        const std::string band = raw.substr(i * kBand, kBand);
        if (band.find_first_not_of('\0') != std::string::npos) {
            char name[16];
            std::snprintf(name, sizeof name, "%zx", i);
            std::ofstream(bundle + "/bands/" + name, std::ios::binary) << band;
        }
    }
    std::ofstream(bundle + "/Info.plist")
        << "<plist version=\"1.0\"><dict><key>band-size</key><integer>65536</integer><key>size</key><integer>"
        << raw.size() << "</integer></dict></plist>";
    const Outcome mounted = hdiutil({"attach", bundle});
    EXPECT_EQ(mounted.status, 0) << mounted.err;
    EXPECT_THAT(mounted.out, HasSubstr("/Volumes/Transmission"));
    EXPECT_EQ(hdiutil({"attach", bundle}).out, mounted.out); // it is known to be attached
    ASSERT_EQ(hdiutil({"extract", bundle, target()}).status, 0);
    EXPECT_EQ(listing(target()), listing(volumes() + "/Transmission"));
    ASSERT_EQ(hdiutil({"convert", bundle, "-format", "UDRW", "-o", base() + "/again.img"}).status, 0);
    EXPECT_TRUE(slurp(base() + "/again.img") == raw);
}

class Licensed : public FrontWorld {
protected:
    Outcome create(const std::string& licence, const std::string& format) const {
        fs::create_directories(base() + "/source");
        return hdiutil({"create", "-srcfolder", base() + "/source", "-volname", "V", "-licence", licence, "-format",
                        format, "-ov", base() + "/made.dmg"});
    }
};

TEST_F(Licensed, ANewImageShowsItsLicenceWhenItIsMounted) {
    const std::string text = "\xC2\xA9 2026 M\xC3\xBCller\nYou may {use} this.\n";
    std::ofstream(base() + "/licence.txt") << text;
    const Outcome made = create(base() + "/licence.txt", "UDZO");
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_THAT(hdiutil({"imageinfo", base() + "/made.dmg"}).out, HasSubstr("Software License Agreement: true\n"));
    EXPECT_THAT(hdiutil({"verify", base() + "/made.dmg"}).err, EndsWith("are VALID\n"));
    EXPECT_EQ(hdiutil({"attach", base() + "/made.dmg"}).err, text);
}

TEST_F(Licensed, ALicenceThatIsNoTextMakesNoImage) {
    std::ofstream(base() + "/licence.txt") << "\xFF\xFE";
    EXPECT_EQ(create(base() + "/licence.txt", "UDZO").err,
              "hdiutil: create failed - the licence is empty, not UTF-8 or larger than a megabyte (" + base() +
                  "/licence.txt)\n");
    EXPECT_EQ(create(base() + "/none", "UDZO").err,
              "hdiutil: create failed - No such file or directory (" + base() + "/none)\n");
    EXPECT_FALSE(fs::exists(base() + "/made.dmg"));
}

TEST_F(Licensed, AnImageWithoutAFolderIsEmptyAndAsLargeAsAskedFor) {
    ASSERT_EQ(hdiutil({"create", "-size", "20m", "-volname", "Empty", base() + "/made.dmg"}).status, 0);
    EXPECT_LT(fs::file_size(base() + "/made.dmg"), 100000U);
    EXPECT_EQ(hdiutil({"attach", base() + "/made.dmg"}).status, 0);
    EXPECT_TRUE(fs::is_empty(volumes() + "/Empty"));
    EXPECT_GE(fs::space(volumes() + "/Empty").capacity, std::uintmax_t{20} << 20U);
}

TEST_F(Licensed, TwoNamesThatClashAreReportedWithTheWayOut) {
    fs::create_directories(base() + "/source");
    std::ofstream(base() + "/source/readme") << "a";
    std::ofstream(base() + "/source/README") << "b";
    const Words words = {"create", "-srcfolder", base() + "/source", "-volname", "V", base() + "/made.dmg"};
    EXPECT_THAT(hdiutil(words).err, EndsWith("beside it is the same name there; HFSX (-fs HFSX) keeps both\n"));
    Words sensitive = words;
    sensitive.insert(sensitive.end() - 1, {"-fs", "HFSX"});
    EXPECT_EQ(hdiutil(sensitive).status, 0);
}

} // namespace
} // namespace hdi::test
