#include "sysinfo/QNSystemInfo.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <sys/utsname.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

const QString kProfiler = u"/usr/sbin/system_profiler"_s;
const QString kInterfaces = u"/sbin/ifconfig"_s;

// A tool that notes its arguments, one line for each run, and prints a text.
void putTool(const QString& path, const QByteArray& output) {
    const QString printed = test::folder() + u"/printed"_s;
    test::writeFile(printed, output);
    test::putSystemTool(path, "#!/bin/sh\necho \"$#:$*\" >> '" + test::folder().toUtf8() + "/runs'\ncat '" +
                                  printed.toUtf8() + "'\n");
}

QStringList runs() {
    return QString::fromUtf8(test::readFile(test::folder() + u"/runs"_s)).split(u'\n', Qt::SkipEmptyParts);
}

// There, but nothing that the system could run.
void putBrokenTool(const QString& path) {
    test::putSystemFile(path, "no program");
}

} // namespace

TEST(OSVersion, HasThreeNumbersAndIsKept) {
    test::putSystemFile(u"/etc/os-release"_s, "NAME=x\nVERSION_ID=\"14.2.1\"\n");
    EXPECT_EQ(QNSystemInfo::getOSVersion(), u"14.2.1"_s);
    test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=15\n");
    EXPECT_EQ(QNSystemInfo::getOSVersion(), u"14.2.1"_s);
}

TEST(OSVersion, ShowsAMissingNumberAsZero) {
    test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"12\"\n");
    EXPECT_EQ(QNSystemInfo::getOSVersion(), u"12.0.0"_s);
}

TEST(CPUName, IsAskedOfTheProfilerOnceWithOneArgument) {
    putTool(kProfiler, "Hardware:\n    Processor Name: Intel Core i9\n");
    EXPECT_EQ(QNSystemInfo::getCPUName(), u"Intel Core i9"_s);
    EXPECT_EQ(QNSystemInfo::getCPUName(), u"Intel Core i9"_s);
    EXPECT_THAT(runs(), ElementsAre(u"1:SPHardwareDataType"_s));
}

TEST(CPUName, IsTheChipWhereNoProcessorNameIs) {
    putTool(kProfiler, "Hardware:\n    Chip: Apple M1 Pro\n");
    EXPECT_EQ(QNSystemInfo::getCPUName(), u"Apple M1 Pro"_s);
}

TEST(CPUName, StaysEmptyOnceAnEmptyNameWasFound) {
    putTool(kProfiler, "Processor Name: \nChip: Apple M1\n");
    EXPECT_EQ(QNSystemInfo::getCPUName(), u""_s);
    EXPECT_EQ(QNSystemInfo::getCPUName(), u""_s);
    EXPECT_EQ(runs().size(), 1);
}

TEST(CPUName, IsAskedForAgainWhileThereIsNone) {
    putTool(kProfiler, "");
    EXPECT_EQ(QNSystemInfo::getCPUName(), std::nullopt);
    putTool(kProfiler, "Model: x\n");
    EXPECT_EQ(QNSystemInfo::getCPUName(), std::nullopt);
    putTool(kProfiler, "Chip: Apple M3\n");
    EXPECT_EQ(QNSystemInfo::getCPUName(), u"Apple M3"_s);
    EXPECT_EQ(runs().size(), 3);
}

TEST(CPUName, IsAbsentWithoutAFailureOfItsOwnWhenTheToolCannotRun) {
    putTool(kInterfaces, "");
    putBrokenTool(kProfiler);
    EXPECT_EQ(QNSystemInfo::getCPUName(), std::nullopt);
    EXPECT_THAT(test::eventLogMessages(),
                ElementsAre(u"Run Task with path: /usr/sbin/system_profiler threw an exception: launch path not "
                            "accessible"_s));
}

TEST(CPUType, IsThePlatformsTextForTheProcessor) {
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    const QString machine = QString::fromLatin1(names.machine);
    const QMap<QString, QString> expected{{u"x86_64"_s, u"Intel x86-64"_s}, {u"aarch64"_s, u"ARM64"_s}};
    EXPECT_EQ(QNSystemInfo::getCPUType(), expected.value(machine, u"NA"_s));
}

TEST(MacAddress, IsAskedOfTheInterfaceListerOnceWithOneArgument) {
    putTool(kInterfaces, "lo\tether 00:00:00:00:00:00\nen0\tether A4:83:E7:12:34:56\nen1\tether 11:22:33:44:55:66\n");
    EXPECT_EQ(QNSystemInfo::getMacAddress(), u"A4:83:E7:12:34:56"_s);
    EXPECT_EQ(QNSystemInfo::getMacAddress(), u"A4:83:E7:12:34:56"_s);
    EXPECT_THAT(runs(), ElementsAre(u"1:-a"_s));
}

TEST(MacAddress, IsAskedForAgainWhileThereIsNone) {
    putTool(kInterfaces, "lo\tether 00:00:00:00:00:00\n");
    EXPECT_EQ(QNSystemInfo::getMacAddress(), std::nullopt);
    putTool(kInterfaces, "en0\tether a4:83:e7:12:34:56\n");
    EXPECT_EQ(QNSystemInfo::getMacAddress(), u"a4:83:e7:12:34:56"_s);
    EXPECT_EQ(runs().size(), 2);
}

TEST(MacAddress, IsAbsentWhenTheToolCannotRun) {
    putBrokenTool(kInterfaces);
    EXPECT_EQ(QNSystemInfo::getMacAddress(), std::nullopt);
    EXPECT_TRUE(test::eventLogMessages().contains(
        u"Run Task with path: /sbin/ifconfig threw an exception: launch path not accessible"_s));
}

TEST(ScreenResolution, IsZeroByZeroAndKeptWithoutAScreen) {
    // This program has no connection to a display.
    EXPECT_EQ(QNSystemInfo::getScreenResolution(), u"0x0"_s);
    EXPECT_EQ(QNSystemInfo::getScreenResolution(), u"0x0"_s);
}

TEST(FirstPath, EndsBeforeTheFirstDash) {
    const std::pair<QString, QString> table[] = {
        {u"zh-Hans-CN"_s, u"zh"_s}, {u"en"_s, u"en"_s},   {u"-x"_s, u"-x"_s}, {u"-"_s, u"-"_s}, {u""_s, u""_s},
        {u"a-"_s, u"a"_s},          {u"--a"_s, u"--a"_s},
    };
    for (const auto& [text, expected] : table) {
        EXPECT_EQ(QNSystemInfo::getFirstPathOf(text), expected) << text.toStdString();
    }
}
