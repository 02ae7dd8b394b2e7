#include "platform/RealPath.h"
#include "platform/Volumes.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>

namespace {

// Through a system root that holds nothing but the table, since the variable decides where the volumes folder is.
void putMountTable(const QByteArray& table) {
    test::putSystemFile(QStringLiteral("/proc/self/mountinfo"), table);
}

QString volumes() {
    return test::systemRoot() + QStringLiteral("/Volumes");
}

// As the disk-image tool leaves an extracted volume: a link to a folder elsewhere. `age` in seconds.
void attachExtracted(const QString& name, long age) {
    const QString data = test::folder() + QStringLiteral("/data/") + name;
    ASSERT_TRUE(QDir().mkpath(data));
    ASSERT_TRUE(QDir().mkpath(volumes()));
    ASSERT_TRUE(QFile::link(data, volumes() + u'/' + name));
    const std::array<timespec, 2> times{{{1'000'000 - age, 0}, {1'000'000 - age, 0}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(volumes() + u'/' + name).constData(), times.data(),
                          AT_SYMLINK_NOFOLLOW),
              0);
}

} // namespace

TEST(MountedVolumes, AreThoseOfTheKernelsTable) {
    const QStringList volumes = platform::mountedVolumes();
    EXPECT_TRUE(volumes.contains(QStringLiteral("/")));
    EXPECT_TRUE(volumes.contains(QStringLiteral("/proc")));
}

TEST(MountedVolumes, ShowWhatIsMountedInTheVolumesFolderByItsPlainPath) {
    putMountTable("1 0 8:1 / / rw - ext4 x rw\n2 1 0:9 / " + QFile::encodeName(volumes()) +
                  "/My\\040App rw - fuse x rw\n3 1 0:9 / " + QFile::encodeName(volumes()) + "X/a rw - fuse x rw\n");
    EXPECT_EQ(platform::mountedVolumes(),
              QStringList({QStringLiteral("/"), QStringLiteral("/Volumes/My App"), volumes() + QStringLiteral("X/a")}));
}

TEST(MountedVolumes, SeeThroughLinksOnTheWayToTheVolumesFolder) {
    const QString real = test::folder() + QStringLiteral("/elsewhere");
    ASSERT_TRUE(QDir().mkpath(real + QStringLiteral("/V")));
    putMountTable("2 1 0:9 / " + QFile::encodeName(real) + "/V rw - fuse x rw\n");
    ASSERT_TRUE(QFile::link(real, volumes()));
    EXPECT_EQ(platform::mountedVolumes(), QStringList(QStringLiteral("/Volumes/V")));
}

TEST(MountedVolumes, EndWithTheExtractedOnesInTheOrderOfAttaching) {
    putMountTable("1 0 8:1 / / rw - ext4 x rw\n");
    attachExtracted(QStringLiteral("b"), 30);
    attachExtracted(QStringLiteral("c"), 20);
    attachExtracted(QStringLiteral("a b"), 10);
    EXPECT_EQ(platform::mountedVolumes(), QStringList({QStringLiteral("/"), QStringLiteral("/Volumes/b"),
                                                       QStringLiteral("/Volumes/c"), QStringLiteral("/Volumes/a b")}));
}

TEST(MountedVolumes, LeaveOutFoldersFilesAndLinksThatLeadNowhere) {
    putMountTable("");
    attachExtracted(QStringLiteral("gone"), 0);
    std::filesystem::remove_all((test::folder() + QStringLiteral("/data/gone")).toStdString());
    ASSERT_TRUE(QDir().mkpath(volumes() + QStringLiteral("/mount point that nothing is mounted on")));
    test::writeFile(volumes() + QStringLiteral("/file"), "");
    EXPECT_EQ(platform::mountedVolumes(), QStringList());
}

TEST(MountedVolumes, AreNoneWithoutATable) {
    putMountTable("garbage \x01\x02\n\n");
    EXPECT_EQ(platform::mountedVolumes(), QStringList());
}
