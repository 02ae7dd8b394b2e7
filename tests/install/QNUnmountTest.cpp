#include "install/QNUnmount.h"
#include "platform/Folders.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

QByteArray mountLine(const QByteArray& path) {
    return "36 35 98:0 / " + path + " ro,nosuid - fuse.hdiutil hdiutil ro\n";
}

void nameTheVolume() {
    test::setInfo(u"CFBundleShortVersionString"_s, u"2.5"_s);
    test::setInfo(u"QNEnv"_s, u"qa1"_s);
    test::setSetting(u"kAPP_NAME"_s, u"Kit"_s);
}

// A script that leaves what it was given in a file.
void recordInScript() {
    test::writeFile(test::ownResources() + u"/unmount.sh"_s,
                    "echo \"$0|$1|$#\" > \"$HOME/arguments.new\"\nmv \"$HOME/arguments.new\" \"$HOME/arguments\"\n");
}

QString recorded() {
    return QString::fromUtf8(test::readFile(test::home() + u"/arguments"_s));
}

} // namespace

TEST(QNUnmount, FindsTheVolumeByNameVersionAndEnvironment) {
    nameTheVolume();
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/") +
                                                       mountLine("/mnt/Kit\\040Installer\\0402.5\\040qa1") +
                                                       mountLine("/mnt/Kit\\040Installer\\0402.5\\040beta"));
    EXPECT_EQ(QNUnmount::getDisk(), u"/mnt/Kit Installer 2.5 qa1"_s);
}

TEST(QNUnmount, TakesTheVolumeThatIsListedLast) {
    nameTheVolume();
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/b/Kit\\040Installer\\0402.5\\040qa1") +
                                                       mountLine("/a/Kit\\040Installer\\0402.5\\040qa1\\0401") +
                                                       mountLine("/other"));
    EXPECT_EQ(QNUnmount::getDisk(), u"/a/Kit Installer 2.5 qa1 1"_s);
}

TEST(QNUnmount, ComparesTheNameToTheLetter) {
    nameTheVolume();
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/mnt/kit\\040Installer\\0402.5\\040qa1"));
    EXPECT_EQ(QNUnmount::getDisk(), std::nullopt);
}

TEST(QNUnmount, BuildsTheNameWithNullForAMissingSetting) {
    nameTheVolume();
    test::setSetting(u"kAPP_NAME"_s, QVariant());
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/mnt/(null)\\040Installer\\0402.5\\040qa1"));
    EXPECT_EQ(QNUnmount::getDisk(), u"/mnt/(null) Installer 2.5 qa1"_s);
}

TEST(QNUnmount, DoesAndLogsNothingWithoutAVolume) {
    nameTheVolume();
    recordInScript();
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/"));
    QNUnmount::unmountDMG();
    EXPECT_TRUE(test::eventLog().isEmpty());
    EXPECT_FALSE(std::filesystem::exists((test::folder() + u"/tmp"_s).toStdString() + "/unmount.sh"));
    EXPECT_EQ(recorded(), QString());
}

TEST(QNUnmount, RunsACopyOfTheScriptWithTheVolumeAndDoesNotWait) {
    nameTheVolume();
    recordInScript();
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/mnt/Kit\\040Installer\\0402.5\\040qa1"));
    const QString copy = platform::temporaryDirectory().value_or(QString()) + u"/unmount.sh"_s;
    test::writeFile(copy, "an older copy");
    QNUnmount::unmountDMG();
    EXPECT_EQ(test::eventLogMessages(), QStringList{u"Unmount DMG from path: /mnt/Kit Installer 2.5 qa1"_s});
    ASSERT_TRUE(test::waitFor([] { return !recorded().isEmpty(); }));
    EXPECT_EQ(recorded(), copy + u"|/mnt/Kit Installer 2.5 qa1|1\n"_s);
}

TEST(QNUnmount, OnlyLogsAMissingScript) {
    nameTheVolume();
    std::filesystem::remove((test::ownResources() + u"/unmount.sh"_s).toStdString());
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/mnt/Kit\\040Installer\\0402.5\\040qa1"));
    EXPECT_NO_THROW(QNUnmount::unmountDMG());
    EXPECT_EQ(test::eventLogMessages(), (QStringList{u"Unmount DMG from path: /mnt/Kit Installer 2.5 qa1"_s,
                                                     u"Unmount DMG error: the script unmount.sh cannot be read"_s}));
}

TEST(QNUnmount, OnlyLogsAShellThatCannotBeStarted) {
    nameTheVolume();
    recordInScript();
    test::putSystemFile(u"/bin/sh"_s, "not a program");
    test::putSystemFile(u"/proc/self/mountinfo"_s, mountLine("/mnt/Kit\\040Installer\\0402.5\\040qa1"));
    EXPECT_NO_THROW(QNUnmount::unmountDMG());
    EXPECT_EQ(test::eventLogMessages().value(1), u"Unmount DMG error: launch path not accessible"_s);
}
