#include "platform/Bundle.h"
#include "platform/RealPath.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

using platform::realPath;

namespace {

// A SystemRoot of the test's own instead of the link to the built one.
void putInBundle(const QString& plain) {
    const QString root = test::bundle() + QStringLiteral("/Contents/SystemRoot");
    QFile::remove(root);
    test::writeFile(root + plain, "");
}

} // namespace

TEST(RealPath, IsThePathItselfWhereNothingStandsForIt) {
    EXPECT_EQ(realPath(QStringLiteral("/bin/sh")), QStringLiteral("/bin/sh"));
    EXPECT_EQ(realPath(QStringLiteral("/no/such/tool")), QStringLiteral("/no/such/tool"));
    EXPECT_EQ(realPath(QStringLiteral("relative")), QStringLiteral("relative"));
    EXPECT_EQ(realPath(QString()), QString());
}

TEST(RealPath, PrefersTheSystemRootOfTheEnvironmentToThatOfTheBundle) {
    putInBundle(QStringLiteral("/usr/bin/tool"));
    EXPECT_EQ(realPath(QStringLiteral("/usr/bin/tool")),
              test::bundle() + QStringLiteral("/Contents/SystemRoot/usr/bin/tool"));
    test::putSystemFile(QStringLiteral("/usr/bin/tool"), "");
    EXPECT_EQ(realPath(QStringLiteral("/usr/bin/tool")), test::systemRoot() + QStringLiteral("/usr/bin/tool"));
}

TEST(RealPath, GoesOnToTheBundleWhereTheSystemRootOfTheEnvironmentHasNoSuchFile) {
    putInBundle(QStringLiteral("/usr/bin/tool"));
    test::putSystemFile(QStringLiteral("/usr/bin/other"), "");
    EXPECT_EQ(realPath(QStringLiteral("/usr/bin/tool")),
              test::bundle() + QStringLiteral("/Contents/SystemRoot/usr/bin/tool"));
}

TEST(RealPath, IgnoresASystemRootThatIsNotAbsolute) {
    test::writeFile(QStringLiteral("root/bin/sh"), "");
    test::setEnvironment("QN_SYSTEM_ROOT", "root");
    EXPECT_EQ(realPath(QStringLiteral("/bin/sh")), QStringLiteral("/bin/sh"));
    std::filesystem::remove_all("root");
}

TEST(RealPath, PutsVolumesIntoTheVolumesFolder) {
    const QString folder = *platform::volumesFolder();
    EXPECT_EQ(realPath(QStringLiteral("/Volumes")), folder);
    EXPECT_EQ(realPath(QStringLiteral("/Volumes/My App/x.app")), folder + QStringLiteral("/My App/x.app"));
    EXPECT_EQ(realPath(QStringLiteral("/Volumes/V/")), folder + QStringLiteral("/V/"));
    EXPECT_EQ(realPath(QStringLiteral("/VolumesX")), QStringLiteral("/VolumesX"));
}

TEST(VolumesFolder, LiesBelowTheSystemRootWhenThatIsSet) {
    test::setEnvironment("QN_SYSTEM_ROOT", "/some/root/");
    EXPECT_EQ(platform::volumesFolder(), QStringLiteral("/some/root/Volumes"));
}

TEST(VolumesFolder, LiesInTheRuntimeFolderWhenThatIsPrivate) {
    EXPECT_EQ(platform::volumesFolder(), test::folder() + QStringLiteral("/runtime/Volumes"));
}

TEST(VolumesFolder, LiesInTmpWhenTheRuntimeFolderIsOpenToOthers) {
    ASSERT_EQ(::chmod(QFile::encodeName(test::folder() + QStringLiteral("/runtime")).constData(), 0755), 0);
    const auto folder = platform::volumesFolder();
    // Present unless somebody planted that very folder on this machine.
    ASSERT_TRUE(folder.has_value());
    EXPECT_EQ(*folder, QStringLiteral("/tmp/volumes-%1").arg(::geteuid()));
}

TEST(OwnTools, AreAppendedToThePath) {
    putInBundle(QStringLiteral("/usr/bin/hdiutil"));
    QDir().mkpath(test::bundle() + QStringLiteral("/Contents/SystemRoot/sbin"));
    test::setEnvironment("PATH", "/first:/second");
    platform::addOwnToolsToPath();
    const QString root = test::bundle() + QStringLiteral("/Contents/SystemRoot");
    EXPECT_EQ(qEnvironmentVariable("PATH"),
              QStringLiteral("/first:/second:") + root + QStringLiteral("/usr/bin:") + root + QStringLiteral("/sbin"));
}

TEST(OwnTools, FollowTheUsualFoldersWhenThereIsNoPath) {
    putInBundle(QStringLiteral("/usr/bin/hdiutil"));
    test::unsetEnvironment("PATH");
    platform::addOwnToolsToPath();
    EXPECT_TRUE(qEnvironmentVariable("PATH").startsWith(QStringLiteral("/usr/local/bin:/usr/bin:/bin:")));
    EXPECT_TRUE(qEnvironmentVariable("PATH").endsWith(QStringLiteral("/Contents/SystemRoot/usr/bin")));
}
