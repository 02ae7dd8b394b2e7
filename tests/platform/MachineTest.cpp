#include "platform/Machine.h"
#include "platform/linux/MachineFacts.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>

using namespace Qt::StringLiterals;

namespace {

utsname kernelNames() {
    utsname names{};
    EXPECT_EQ(::uname(&names), 0);
    return names;
}

} // namespace

TEST(OperatingSystemVersion, ComesFromTheReleaseFile) {
    test::putSystemFile(u"/etc/os-release"_s, "PRETTY_NAME=\"x\"\nVERSION_ID=\"12\"\n");
    EXPECT_EQ(platform::operatingSystemVersion(), (std::array<int, 3>{12, 0, 0}));
    test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=22.04.3\n");
    EXPECT_EQ(platform::operatingSystemVersion(), (std::array<int, 3>{22, 4, 3}));
}

TEST(OperatingSystemVersion, ComesFromTheDistributionsOwnPlaceWhenTheFirstIsMissing) {
    test::putSystemFile(u"/usr/lib/os-release"_s, "VERSION_ID=41\n");
    test::putSystemFile(u"/etc/os-release/no-file"_s, ""); // a folder hides the machine's own, which is there
    EXPECT_EQ(platform::operatingSystemVersion(), (std::array<int, 3>{41, 0, 0}));
}

TEST(OperatingSystemVersion, ComesFromTheKernelWhenTheReleaseFileTellsNone) {
    test::putSystemFile(u"/etc/os-release"_s, "NAME=rolling\n");
    const auto kernel = platform::versionNumbers(QString::fromLocal8Bit(kernelNames().release));
    ASSERT_TRUE(kernel);
    EXPECT_GT((*kernel)[0], 0);
    EXPECT_EQ(platform::operatingSystemVersion(), *kernel);
    test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=sid\n");
    EXPECT_EQ(platform::operatingSystemVersion(), *kernel);
}

TEST(LocalArchitecture, IsThatOfTheKernel) {
    EXPECT_EQ(platform::localArchitectureDescription(),
              platform::architectureDescription(QString::fromLocal8Bit(kernelNames().machine)));
}

TEST(MainScreen, HasNoSizeWithoutADisplay) {
    EXPECT_EQ(platform::mainScreenSize(), QSizeF(0, 0));
}
