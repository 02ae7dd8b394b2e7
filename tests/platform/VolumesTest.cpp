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

using namespace Qt::StringLiterals;

namespace {

// Through a system root that holds nothing but the table, since the variable decides where the volumes folder is.
void putMountTable(const QByteArray& table) {
    test::putSystemFile(u"/proc/self/mountinfo"_s, table);
}

QString volumes() {
    return test::systemRoot() + u"/Volumes"_s;
}

// As the disk-image tool leaves an extracted volume: a link to a folder elsewhere. `age` in seconds.
void attachExtracted(const QString& name, long age) {
    const QString data = test::folder() + u"/data/"_s + name;
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
    EXPECT_TRUE(volumes.contains(u"/"_s));
    EXPECT_TRUE(volumes.contains(u"/proc"_s));
}

TEST(MountedVolumes, ShowWhatIsMountedInTheVolumesFolderByItsPlainPath) {
    putMountTable("1 0 8:1 / / rw - ext4 x rw\n2 1 0:9 / " + QFile::encodeName(volumes()) +
                  "/My\\040App rw - fuse x rw\n3 1 0:9 / " + QFile::encodeName(volumes()) + "X/a rw - fuse x rw\n");
    EXPECT_EQ(platform::mountedVolumes(), QStringList({u"/"_s, u"/Volumes/My App"_s, volumes() + u"X/a"_s}));
}

TEST(MountedVolumes, SeeThroughLinksOnTheWayToTheVolumesFolder) {
    const QString real = test::folder() + u"/elsewhere"_s;
    ASSERT_TRUE(QDir().mkpath(real + u"/V"_s));
    putMountTable("2 1 0:9 / " + QFile::encodeName(real) + "/V rw - fuse x rw\n");
    ASSERT_TRUE(QFile::link(real, volumes()));
    EXPECT_EQ(platform::mountedVolumes(), QStringList(u"/Volumes/V"_s));
}

TEST(MountedVolumes, EndWithTheExtractedOnesInTheOrderOfAttaching) {
    putMountTable("1 0 8:1 / / rw - ext4 x rw\n");
    attachExtracted(u"b"_s, 30);
    attachExtracted(u"c"_s, 20);
    attachExtracted(u"a b"_s, 10);
    EXPECT_EQ(platform::mountedVolumes(), QStringList({u"/"_s, u"/Volumes/b"_s, u"/Volumes/c"_s, u"/Volumes/a b"_s}));
}

TEST(MountedVolumes, LeaveOutFoldersFilesAndLinksThatLeadNowhere) {
    putMountTable("");
    attachExtracted(u"gone"_s, 0);
    std::filesystem::remove_all((test::folder() + u"/data/gone"_s).toStdString());
    ASSERT_TRUE(QDir().mkpath(volumes() + u"/mount point that nothing is mounted on"_s));
    test::writeFile(volumes() + u"/file"_s, "");
    EXPECT_EQ(platform::mountedVolumes(), QStringList());
}

TEST(MountedVolumes, AreNoneWithoutATable) {
    putMountTable("garbage \x01\x02\n\n");
    EXPECT_EQ(platform::mountedVolumes(), QStringList());
}
