#include "tests/e2e/InstallerRun.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

void expectToOpenTheLinkAndQuit(InstallerRun& run) {
    run.expectConfiguration(run.linkDocument("autoOpen"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    EXPECT_EQ(run.openedAddresses(1), QStringList(u"https://www.example.com/get?x=%41"_s));
    EXPECT_EQ(run.portal().requests().size(), 2U);
}

} // namespace

// What keeps the log from being written, made where its data folder would be.
struct Obstacle {
    const char* name;
    void (*put)(const QString& dataFolder);
    const char* told;
};

void PrintTo(const Obstacle& obstacle, std::ostream* out) {
    *out << obstacle.name;
}

class UnwritableLog : public testing::TestWithParam<Obstacle> {};

TEST_P(UnwritableLog, LosesItsEntriesTellsTheConsoleEachTimeAndTheRunGoesOn) {
    InstallerRun run;
    GetParam().put(run.folder() + u"/home/Data"_s);
    expectToOpenTheLinkAndQuit(run);
    EXPECT_GE(run.console().count(QString::fromUtf8(GetParam().told)), 5) << run.console().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    WholeRun, UnwritableLog,
    testing::Values(Obstacle{"FullDisk",
                             [](const QString& folder) {
                                 QDir().mkpath(folder + u"/Logs"_s);
                                 QFile::link(u"/dev/full"_s, folder + u"/Logs/install.log"_s);
                             },
                             "Write log error: "},
                    Obstacle{"FolderWithoutWriting",
                             [](const QString& folder) { QFile::link(u"/proc/self"_s, folder); }, "MKDIR Error! "},
                    Obstacle{"FileInPlaceOfTheFolder", [](const QString& folder) { test::writeFile(folder, "x"); },
                             "MKDIR Error! "}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(UnwritableConsole, IsNoMatter) {
    InstallerRun run;
    run.sendStreamsTo("/dev/full");
    expectToOpenTheLinkAndQuit(run);
}
