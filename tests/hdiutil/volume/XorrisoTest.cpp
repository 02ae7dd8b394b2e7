#include "hdiutil/image/ByteOrder.h"
#include "tests/hdiutil/image/TestBytes.h"
#include "tests/hdiutil/volume/VolumeTree.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

// The HFS+ part of a hybrid image, without what follows it.
Bytes hfsPart(const std::string& path) {
    const Bytes bytes = readFile(path);
    for (std::size_t at = 1024; at + 512 <= bytes.size(); at += 512)
        if (bytes[at] == std::byte{'H'} && bytes[at + 1] == std::byte{'+'}) {
            const std::size_t size =
                std::size_t{loadBig<std::uint32_t>(bytes, at + 40)} * loadBig<std::uint32_t>(bytes, at + 44);
            const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at - 1024);
            return {begin, begin + static_cast<std::ptrdiff_t>(size)};
        }
    ADD_FAILURE() << "no HFS+ in " << path;
    return {};
}

void makeSource(const std::string& folder) {
    fs::create_directories(folder + "/App.app/Contents/MacOS");
    fs::create_directories(folder + "/App.app/Contents/\u00dcbersetzung/\ud55c\uad6d\uc5b4");
    writeFile(folder + "/App.app/Contents/MacOS/run", bytesOf("#!/bin/sh\necho hello\n"));
    fs::permissions(folder + "/App.app/Contents/MacOS/run", fs::perms(0755));
    writeFile(folder + "/App.app/Contents/\u00dcbersetzung/\ud55c\uad6d\uc5b4/\u00e9t\u00e9.txt", prose(5000, 1));
    writeFile(folder + "/large", noise(3'000'017, 2));
    writeFile(folder + "/empty", {});
    writeFile(folder + "/a:colon", bytesOf("x"));
    fs::permissions(folder + "/large", fs::perms(0600));
    fs::create_symlink("App.app/Contents/MacOS/run", folder + "/relative");
    fs::create_symlink("/Applications", folder + "/absolute");
    for (int i = 0; i < 300; ++i) // more than one leaf
        writeFile(folder + "/App.app/file number " + std::to_string(i), prose(static_cast<std::size_t>(i), 3));
}

class XorrisoImage : public testing::TestWithParam<const char*> {};

TEST_P(XorrisoImage, HasTheTreeOfItsSource) {
    const TemporaryFolder folder;
    makeSource(folder / "source");
    run("cd " + folder / "" + " && " + GetParam() + " 2>&1");
    const auto volumes = openVolumes(inMemory(hfsPart(folder / "out.iso")));
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(readTree(*volumes[0]), readFolder(folder / "source"));
}

// 7-Zip shows a slash, which stands for a colon, as an underscore: that name is left out.
TEST_P(XorrisoImage, HasTheTreeThat7ZipReads) {
    const TemporaryFolder folder;
    makeSource(folder / "source");
    fs::remove(folder / "source/a:colon");
    run("cd " + folder / "" + " && " + GetParam() + " 2>&1");
    const Bytes volume = hfsPart(folder / "out.iso");
    writeFile(folder / "raw.hfs", volume);
    EXPECT_EQ(readTree(*openVolumes(inMemory(volume)).at(0)), readWith7z(folder / "raw.hfs", folder / "x"));
}

INSTANTIATE_TEST_SUITE_P(
    All, XorrisoImage,
    testing::Values("xorriso -as mkisofs -hfsplus -V Volume -o out.iso source",
                    "xorriso -hfsplus on -volid Volume -outdev out.iso -map source /",
                    "xorriso -as mkisofs -hfsplus -hfsplus-block-size 512 -V Volume -o out.iso source"));

} // namespace
} // namespace hdi::test
