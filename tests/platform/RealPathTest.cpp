#include "platform/Bundle.h"
#include "platform/RealPath.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

using namespace Qt::StringLiterals;

using platform::realPath;

namespace {

// A SystemRoot of the test's own instead of the link to the built one.
void putInBundle(const QString& plain) {
    const QString root = test::bundle() + u"/Contents/SystemRoot"_s;
    QFile::remove(root);
    test::writeFile(root + plain, "");
}

} // namespace

TEST(RealPath, IsThePathItselfWhereNothingStandsForIt) {
    EXPECT_EQ(realPath(u"/bin/sh"_s), u"/bin/sh"_s);
    EXPECT_EQ(realPath(u"/no/such/tool"_s), u"/no/such/tool"_s);
    EXPECT_EQ(realPath(u"relative"_s), u"relative"_s);
    EXPECT_EQ(realPath(QString()), QString());
}

TEST(RealPath, PrefersTheSystemRootOfTheEnvironmentToThatOfTheBundle) {
    putInBundle(u"/usr/bin/tool"_s);
    EXPECT_EQ(realPath(u"/usr/bin/tool"_s), test::bundle() + u"/Contents/SystemRoot/usr/bin/tool"_s);
    test::putSystemFile(u"/usr/bin/tool"_s, "");
    EXPECT_EQ(realPath(u"/usr/bin/tool"_s), test::systemRoot() + u"/usr/bin/tool"_s);
}

TEST(RealPath, GoesOnToTheBundleWhereTheSystemRootOfTheEnvironmentHasNoSuchFile) {
    putInBundle(u"/usr/bin/tool"_s);
    test::putSystemFile(u"/usr/bin/other"_s, "");
    EXPECT_EQ(realPath(u"/usr/bin/tool"_s), test::bundle() + u"/Contents/SystemRoot/usr/bin/tool"_s);
}

TEST(RealPath, IgnoresASystemRootThatIsNotAbsolute) {
    test::writeFile(u"root/bin/sh"_s, "");
    test::setEnvironment("QN_SYSTEM_ROOT", "root");
    EXPECT_EQ(realPath(u"/bin/sh"_s), u"/bin/sh"_s);
    std::filesystem::remove_all("root");
}

TEST(RealPath, PutsVolumesIntoTheVolumesFolder) {
    const QString folder = *platform::volumesFolder();
    EXPECT_EQ(realPath(u"/Volumes"_s), folder);
    EXPECT_EQ(realPath(u"/Volumes/My App/x.app"_s), folder + u"/My App/x.app"_s);
    EXPECT_EQ(realPath(u"/Volumes/V/"_s), folder + u"/V/"_s);
    EXPECT_EQ(realPath(u"/VolumesX"_s), u"/VolumesX"_s);
}

TEST(VolumesFolder, LiesBelowTheSystemRootWhenThatIsSet) {
    test::setEnvironment("QN_SYSTEM_ROOT", "/some/root/");
    EXPECT_EQ(platform::volumesFolder(), u"/some/root/Volumes"_s);
}

TEST(VolumesFolder, LiesInTheRuntimeFolderWhenThatIsPrivate) {
    EXPECT_EQ(platform::volumesFolder(), test::folder() + u"/runtime/Volumes"_s);
}

TEST(VolumesFolder, LiesInTmpWhenTheRuntimeFolderIsOpenToOthers) {
    ASSERT_EQ(::chmod(QFile::encodeName(test::folder() + u"/runtime"_s).constData(), 0755), 0);
    const auto folder = platform::volumesFolder();
    // Present unless somebody planted that very folder on this machine.
    ASSERT_TRUE(folder.has_value());
    EXPECT_EQ(*folder, u"/tmp/volumes-%1"_s.arg(::geteuid()));
}

TEST(OwnTools, AreAppendedToThePath) {
    putInBundle(u"/usr/bin/hdiutil"_s);
    QDir().mkpath(test::bundle() + u"/Contents/SystemRoot/sbin"_s);
    test::setEnvironment("PATH", "/first:/second");
    platform::addOwnToolsToPath();
    const QString root = test::bundle() + u"/Contents/SystemRoot"_s;
    EXPECT_EQ(qEnvironmentVariable("PATH"), u"/first:/second:"_s + root + u"/usr/bin:"_s + root + u"/sbin"_s);
}

TEST(OwnTools, FollowTheUsualFoldersWhenThereIsNoPath) {
    putInBundle(u"/usr/bin/hdiutil"_s);
    test::unsetEnvironment("PATH");
    platform::addOwnToolsToPath();
    EXPECT_TRUE(qEnvironmentVariable("PATH").startsWith(u"/usr/local/bin:/usr/bin:/bin:"_s));
    EXPECT_TRUE(qEnvironmentVariable("PATH").endsWith(u"/Contents/SystemRoot/usr/bin"_s));
}
