#include "platform/Folders.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kIdentifier = u"com.example.folders"_s;

QString expectedTemporaryFolder() {
    return test::folder() + u"/tmp/%1-%2"_s.arg(kIdentifier).arg(::getuid());
}

mode_t modeOf(const QString& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &status), 0);
    return status.st_mode & 07777;
}

// Asks for the folder; expects none, and one console line that names it.
void expectRefused() {
    std::optional<QString> folder;
    const QStringList lines = test::consoleLinesOf([&folder] { folder = platform::temporaryDirectory(); });
    EXPECT_EQ(folder, std::nullopt);
    EXPECT_EQ(lines, QStringList(u"The temporary folder %1 cannot be used: it must be a folder of this "
                                 "user with mode 0700."_s.arg(expectedTemporaryFolder())));
}

} // namespace

TEST(HomeDirectory, IsThatOfTheEnvironmentWithNothingAddedOrRemoved) {
    test::setEnvironment("HOME", "/some/home/");
    EXPECT_EQ(platform::homeDirectory(), u"/some/home/"_s);
    test::setEnvironment("HOME", "/söme");
    EXPECT_EQ(platform::homeDirectory(), u"/söme"_s);
}

TEST(HomeDirectory, IsThatOfTheAccountWhenTheEnvironmentHasNoAbsoluteOne) {
    const QString account = QFile::decodeName(::getpwuid(::getuid())->pw_dir);
    test::setEnvironment("HOME", "relative");
    EXPECT_EQ(platform::homeDirectory(), account);
    test::unsetEnvironment("HOME");
    EXPECT_EQ(platform::homeDirectory(), account);
}

TEST(UserName, IsThatOfTheAccountWhateverTheEnvironmentSays) {
    test::setEnvironment("USER", "somebody-else");
    EXPECT_EQ(platform::userName(), QString::fromLocal8Bit(::getpwuid(::getuid())->pw_name));
}

TEST(TemporaryDirectory, IsMadePrivateAndIsTheSameEachTime) {
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    ::umask(0);
    EXPECT_EQ(platform::temporaryDirectory(), expectedTemporaryFolder());
    EXPECT_EQ(modeOf(expectedTemporaryFolder()), 0700U);
    test::writeFile(expectedTemporaryFolder() + u"/kept"_s, "x");
    EXPECT_EQ(platform::temporaryDirectory(), expectedTemporaryFolder());
    EXPECT_EQ(test::readFile(expectedTemporaryFolder() + u"/kept"_s), "x");
}

TEST(TemporaryDirectory, IgnoresSlashesAtTheEndOfTheVariable) {
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    test::setEnvironment("TMPDIR", (test::folder() + u"/tmp//"_s).toUtf8());
    EXPECT_EQ(platform::temporaryDirectory(), expectedTemporaryFolder());
}

TEST(TemporaryDirectory, IsRefusedWhenOthersCanReachIt) {
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    ASSERT_TRUE(QDir().mkpath(expectedTemporaryFolder()));
    ASSERT_EQ(::chmod(QFile::encodeName(expectedTemporaryFolder()).constData(), 0755), 0);
    expectRefused();
    EXPECT_EQ(modeOf(expectedTemporaryFolder()), 0755U);
}

TEST(TemporaryDirectory, IsRefusedWhenItIsALinkOrAFile) {
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    const QString target = test::folder() + u"/target"_s;
    ASSERT_TRUE(QDir().mkpath(target));
    ASSERT_EQ(::chmod(QFile::encodeName(target).constData(), 0700), 0);
    ASSERT_TRUE(QFile::link(target, expectedTemporaryFolder()));
    expectRefused();
    ASSERT_TRUE(QFile::remove(expectedTemporaryFolder()));
    test::writeFile(expectedTemporaryFolder(), "");
    expectRefused();
}

TEST(TemporaryDirectory, IsRefusedWhenItBelongsToSomebodyElse) {
    ASSERT_EQ(::geteuid(), 0U) << "giving a folder away needs the rights of root, which the container's tests have";
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    ASSERT_TRUE(QDir().mkpath(expectedTemporaryFolder()));
    ASSERT_EQ(::chmod(QFile::encodeName(expectedTemporaryFolder()).constData(), 0700), 0);
    ASSERT_EQ(::chown(QFile::encodeName(expectedTemporaryFolder()).constData(), 12345, 12345), 0);
    expectRefused();
}

TEST(TemporaryDirectory, IsRefusedWhenItsParentIsMissing) {
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    test::setEnvironment("TMPDIR", (test::folder() + u"/none"_s).toUtf8());
    std::optional<QString> folder;
    EXPECT_EQ(test::consoleLinesOf([&folder] { folder = platform::temporaryDirectory(); }).size(), 1);
    EXPECT_EQ(folder, std::nullopt);
}

TEST(TemporaryDirectory, StaysBelowTheVariablesFolderForAnyIdentifier) {
    test::setInfo(u"CFBundleIdentifier"_s, u"../../x"_s);
    EXPECT_EQ(platform::temporaryDirectory(), test::folder() + u"/tmp/.._.._x-%1"_s.arg(::getuid()));
}
