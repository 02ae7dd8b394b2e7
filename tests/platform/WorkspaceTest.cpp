#include "platform/Workspace.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cerrno>

namespace {

QString toolFolder() {
    return test::folder() + QStringLiteral("/tools");
}

// A program in PATH that writes its arguments, one a line, to the returned file.
QString putOpener() {
    const QString record = test::folder() + QStringLiteral("/opened");
    const QString tool = toolFolder() + QStringLiteral("/xdg-open");
    test::writeFile(tool, "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + record.toUtf8() + ".new'\nmv '" + record.toUtf8() +
                              ".new' '" + record.toUtf8() + "'\n");
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    test::setEnvironment("PATH", toolFolder().toUtf8() + ":/usr/bin:/bin");
    return record;
}

bool hasNoChild() {
    return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

} // namespace

TEST(OpenAddress, HandsTheOriginalTextToTheUsersOpener) {
    const QString record = putOpener();
    const QString text = QStringLiteral("HTTP://Host/%41?a=1&b=$HOME'x'#f");
    ASSERT_TRUE(Address::parse(text));
    EXPECT_TRUE(platform::openAddress(Address::parse(text)));
    EXPECT_TRUE(test::waitFor([&record] { return QFile::exists(record); }));
    EXPECT_EQ(test::readFile(record), text.toUtf8() + '\n');
}

TEST(OpenAddress, LeavesNoDeadChildBehind) {
    const QString record = putOpener();
    EXPECT_TRUE(platform::openAddress(Address::parse(QStringLiteral("http://h/"))));
    EXPECT_TRUE(test::waitFor(hasNoChild));
    EXPECT_TRUE(QFile::exists(record));
}

TEST(OpenAddress, DoesNotWaitForTheOpener) {
    putOpener();
    const QString gate = test::folder() + QStringLiteral("/gate");
    const QString tool = toolFolder() + QStringLiteral("/xdg-open");
    QFile::remove(tool);
    test::writeFile(tool, "#!/bin/sh\nmkfifo '" + gate.toUtf8() + "'\nread -r line < '" + gate.toUtf8() + "'\n");
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_TRUE(platform::openAddress(Address::parse(QStringLiteral("http://h/")))); // returns although it waits
    ASSERT_TRUE(test::waitFor([&gate] { return QFile::exists(gate); }));
    EXPECT_FALSE(hasNoChild());
    test::writeFile(gate, "go\n");
    EXPECT_TRUE(test::waitFor(hasNoChild));
}

TEST(OpenAddress, FailsForAnAbsentAddressOrWithoutAnOpener) {
    putOpener();
    EXPECT_FALSE(platform::openAddress(std::nullopt));
    test::setEnvironment("PATH", "/nowhere");
    EXPECT_FALSE(platform::openAddress(Address::parse(QStringLiteral("http://h/"))));
}

TEST(OpenAddress, IsNoWayToPassOptions) {
    putOpener();
    const auto address = Address::parse(QStringLiteral("--help"));
    ASSERT_TRUE(address);
    EXPECT_FALSE(platform::openAddress(address));
}

TEST(FullPathForApplication, IsThePathOfABundleItself) {
    const QString path = test::folder() + QStringLiteral("/A B.app");
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_EQ(platform::fullPathForApplication(path), path);
    EXPECT_EQ(platform::fullPathForApplication(path + u'/'), path);
}

TEST(FullPathForApplication, IsPlainForAnApplicationOnAVolume) {
    test::putSystemFile(QStringLiteral("/Volumes/V/A.app/Contents/Info.plist"), "");
    EXPECT_EQ(platform::fullPathForApplication(QStringLiteral("/Volumes/V/A.app")), QStringLiteral("/Volumes/V/A.app"));
}

TEST(FullPathForApplication, IsAbsentForAnythingElse) {
    test::writeFile(test::folder() + QStringLiteral("/file.app"), "");
    ASSERT_TRUE(QDir().mkpath(test::folder() + QStringLiteral("/folder")));
    for (const QString& name : {QStringLiteral("/file.app"), QStringLiteral("/folder"), QStringLiteral("/none.app")}) {
        EXPECT_EQ(platform::fullPathForApplication(test::folder() + name), std::nullopt) << name.toStdString();
    }
    EXPECT_EQ(platform::fullPathForApplication(QStringLiteral("A.app")), std::nullopt);
    EXPECT_EQ(platform::fullPathForApplication(QString()), std::nullopt);
}
