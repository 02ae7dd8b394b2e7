#include "hdiutil/tests/volume/VolumeTree.h"
#include "hdiutil/tests/volume/XorrisoImages.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

class XorrisoImage : public testing::TestWithParam<const char*> {};

TEST_P(XorrisoImage, HasTheTreeOfItsSource) {
    const TemporaryFolder folder;
    makeXorrisoSource(folder / "source");
    runXorriso(folder / "", GetParam());
    const auto volumes = openVolumes(inMemory(hfsPart(folder / "out.iso")));
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(readTree(*volumes[0]), readFolder(folder / "source"));
}

// 7-Zip shows a slash, which stands for a colon, as an underscore: that name is left out.
TEST_P(XorrisoImage, HasTheTreeThat7ZipReads) {
    const TemporaryFolder folder;
    makeXorrisoSource(folder / "source");
    fs::remove(folder / "source/a:colon");
    runXorriso(folder / "", GetParam());
    const Bytes volume = hfsPart(folder / "out.iso");
    writeFile(folder / "raw.hfs", volume);
    EXPECT_EQ(readTree(*openVolumes(inMemory(volume)).at(0)), readWith7z(folder / "raw.hfs", folder / "x"));
}

INSTANTIATE_TEST_SUITE_P(All, XorrisoImage, testing::ValuesIn(kXorrisoCommands));

} // namespace
} // namespace hdi::test
