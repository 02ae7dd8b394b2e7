#include "platform/Workspace.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

QString toolFolder() {
    return test::folder() + u"/tools"_s;
}

// A program in PATH that writes its arguments, one a line, to the returned file.
QString putOpener() {
    const QString record = test::folder() + u"/opened"_s;
    const QString tool = toolFolder() + u"/xdg-open"_s;
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
    const QString text = u"HTTP://Host/%41?a=1&b=$HOME'x'#f"_s;
    ASSERT_TRUE(Address::parse(text));
    EXPECT_TRUE(platform::openAddress(Address::parse(text)));
    EXPECT_TRUE(test::waitFor([&record] { return QFile::exists(record); }));
    EXPECT_EQ(test::readFile(record), text.toUtf8() + '\n');
}

TEST(OpenAddress, LeavesNoDeadChildBehind) {
    const QString record = putOpener();
    EXPECT_TRUE(platform::openAddress(Address::parse(u"http://h/"_s)));
    EXPECT_TRUE(test::waitFor(hasNoChild));
    EXPECT_TRUE(QFile::exists(record));
}

TEST(OpenAddress, DoesNotWaitForTheOpener) {
    putOpener();
    const QString gate = test::folder() + u"/gate"_s;
    const QString tool = toolFolder() + u"/xdg-open"_s;
    QFile::remove(tool);
    test::writeFile(tool, "#!/bin/sh\nmkfifo '" + gate.toUtf8() + "'\nread -r line < '" + gate.toUtf8() + "'\n");
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_TRUE(platform::openAddress(Address::parse(u"http://h/"_s))); // returns although it waits
    ASSERT_TRUE(test::waitFor([&gate] { return QFile::exists(gate); }));
    EXPECT_FALSE(hasNoChild());
    test::writeFile(gate, "go\n");
    EXPECT_TRUE(test::waitFor(hasNoChild));
}

TEST(OpenAddress, FailsForAnAbsentAddressOrWithoutAnOpener) {
    putOpener();
    EXPECT_FALSE(platform::openAddress(std::nullopt));
    test::setEnvironment("PATH", "/nowhere");
    EXPECT_FALSE(platform::openAddress(Address::parse(u"http://h/"_s)));
}

TEST(OpenAddress, IsNoWayToPassOptions) {
    putOpener();
    const auto address = Address::parse(u"--help"_s);
    ASSERT_TRUE(address);
    EXPECT_FALSE(platform::openAddress(address));
}

TEST(OpenAddress, OpensNothingWithoutAScheme) {
    putOpener();
    for (const QString& text : {u"/etc/passwd"_s, u"file.html"_s, u"//host/path"_s, u"?query"_s}) {
        const auto address = Address::parse(text);
        ASSERT_TRUE(address) << text.toStdString();
        EXPECT_FALSE(platform::openAddress(address)) << text.toStdString();
    }
}

TEST(FullPathForApplication, IsThePathOfABundleItself) {
    const QString path = test::folder() + u"/A B.app"_s;
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_EQ(platform::fullPathForApplication(path), path);
    EXPECT_EQ(platform::fullPathForApplication(path + u'/'), path);
}

TEST(FullPathForApplication, IsPlainForAnApplicationOnAVolume) {
    test::putSystemFile(u"/Volumes/V/A.app/Contents/Info.plist"_s, "");
    EXPECT_EQ(platform::fullPathForApplication(u"/Volumes/V/A.app"_s), u"/Volumes/V/A.app"_s);
}

TEST(FullPathForApplication, IsAbsentForAnythingElse) {
    test::writeFile(test::folder() + u"/file.app"_s, "");
    ASSERT_TRUE(QDir().mkpath(test::folder() + u"/folder"_s));
    for (const QString& name : {u"/file.app"_s, u"/folder"_s, u"/none.app"_s}) {
        EXPECT_EQ(platform::fullPathForApplication(test::folder() + name), std::nullopt) << name.toStdString();
    }
    EXPECT_EQ(platform::fullPathForApplication(u"A.app"_s), std::nullopt);
    EXPECT_EQ(platform::fullPathForApplication(QString()), std::nullopt);
}
