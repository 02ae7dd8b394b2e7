#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/PartitionMap.h"
#include "tests/hdiutil/image/TestBytes.h"
#include "tests/hdiutil/volume/VolumeTree.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

// The HFS+ part of a hybrid image: a filesystem that ends before the image does.
ByteSourcePtr hfsPart(const std::string& path) {
    Bytes bytes = readFile(path);
    for (std::size_t at = 1024; at + 512 <= bytes.size(); at += 512)
        if (bytes[at] == std::byte{'H'} && bytes[at + 1] == std::byte{'+'})
            return inMemory(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at - 1024), bytes.end()));
    ADD_FAILURE() << "no HFS+ in " << path;
    return nullptr;
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
    const auto volumes = openVolumes(hfsPart(folder / "out.iso"));
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(readTree(*volumes[0]), readFolder(folder / "source"));
}

INSTANTIATE_TEST_SUITE_P(
    All, XorrisoImage,
    testing::Values("xorriso -as mkisofs -hfsplus -V Volume -o out.iso source",
                    "xorriso -hfsplus on -volid Volume -outdev out.iso -map source /",
                    "xorriso -as mkisofs -hfsplus -hfsplus-block-size 512 -V Volume -o out.iso source"));

} // namespace
} // namespace hdi::test
