#include "tests/tools/qn-portal/report/ReportFolder.h"
#include "tools/qn-portal/report/Collector.h"
#include "tools/qn-portal/report/ReportError.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <array>
#include <thread>

using namespace portal::report;
using test::goodRun;
using test::kFail;
using test::kPass;
using test::line;
using test::ReportFolder;
using testing::ElementsAre;

namespace {

std::array<std::int64_t, 4> funnelOf(const std::string& lines) {
    const Stages stages = ReportFolder().figuresOf(lines).funnel;
    return {stages.started, stages.configured, stages.downloaded, stages.finished};
}

Figures figuresOfFile(const std::string& path) {
    Database database(path, Access::kRead);
    return figuresOf(database, {});
}

} // namespace

TEST(Runs, CountAGoodRunInEveryStage) {
    EXPECT_THAT(funnelOf(goodRun("a")), ElementsAre(1, 1, 1, 1));
}

TEST(Runs, CountAStageOnlyBehindTheOneBeforeIt) {
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "End")), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Config", kFail) + line(2, "a", "End")),
                ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Config", kPass) + line(2, "a", "End")),
                ElementsAre(1, 1, 0, 0));
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Download", kPass) + line(2, "a", "End")),
                ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Config", kPass) + line(2, "a", "Download", kPass)),
                ElementsAre(1, 1, 1, 0));
}

TEST(Runs, DoNotCountAsFinishedWithAFailureBehindTheDownload) {
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Config", kPass) + line(2, "a", "Download", kPass) +
                         line(3, "a", "Config", kFail) + line(4, "a", "End")),
                ElementsAre(1, 1, 1, 0));
}

TEST(Runs, CountAsFinishedWhenASecondTryWentWell) {
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Config", kPass) + line(2, "a", "Download", kFail) +
                         line(3, "a", "Config", kPass) + line(4, "a", "Download", kPass) + line(5, "a", "End")),
                ElementsAre(1, 1, 1, 1));
}

TEST(Runs, AreToldApartByIdentifierAlsoWhenTheirLinesAreMixed) {
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(0, "b", "Start") + line(1, "b", "Config", kFail) +
                         line(1, "a", "Config", kPass) + line(2, "b", "End") + line(2, "a", "Download", kPass) +
                         line(3, "a", "End")),
                ElementsAre(2, 1, 1, 1));
}

TEST(Runs, AreToldApartOnOneMachineByTheirStart) {
    EXPECT_THAT(funnelOf(line(0, "a", "Start") + line(1, "a", "Config", kPass) + goodRun("a")),
                ElementsAre(2, 2, 1, 1));
    EXPECT_THAT(funnelOf(goodRun("a") + goodRun("a") + goodRun("a")), ElementsAre(3, 3, 3, 3));
}

TEST(Runs, WithoutAStartAreCountedBesideTheFunnel) {
    const Figures figures = ReportFolder().figuresOf(line(1, "a", "Config", kPass) + goodRun("b"));
    EXPECT_EQ(figures.funnel.started, 1);
    EXPECT_EQ(figures.funnel.configured, 1);
    EXPECT_EQ(figures.withoutStart, 1);
    EXPECT_EQ(figures.withoutEnd, 0);
}

TEST(Runs, CountOnceHoweverOftenTheirLinesAreRead) {
    const ReportFolder folder;
    const std::string lines = goodRun("a") + goodRun("a") + goodRun("b");
    EXPECT_EQ(folder.import("runs.db", lines).added, 3);
    const ImportResult again = folder.import("runs.db", lines + goodRun("c"));
    EXPECT_EQ(again.added, 1);
    EXPECT_EQ(again.known, 3);
    EXPECT_EQ(figuresOfFile(folder.path("runs.db")).funnel.finished, 4);
}

TEST(Runs, GrowWithLinesThatComeLater) {
    const ReportFolder folder;
    const std::string begun = line(0, "a", "Start") + line(1, "a", "Config", kFail);
    folder.import("runs.db", begun);
    folder.import("runs.db",
                  begun + line(2, "a", "Config", kPass) + line(3, "a", "Download", kPass) + line(4, "a", "End"));
    folder.import("runs.db", begun);
    const Figures figures = figuresOfFile(folder.path("runs.db"));
    EXPECT_EQ(figures.funnel.started, 1);
    EXPECT_EQ(figures.funnel.finished, 1);
    ASSERT_EQ(figures.reasons.size(), 1U);
    EXPECT_EQ(figures.reasons[0].lines, 1);
}

TEST(Runs, AreReadFromBodiesAsServersStoreThem) {
    const std::string escaped = R"(1.2.3.4 "2026-11-01T10:00:00Z ci=c {\x22EVT\x22:\x22Start\x22}\x0D\x0A)"
                                R"(2026-11-01T10:00:01Z ci=c {\x22EVT\x22:\x22End\x22}")"
                                "\n";
    const std::string json = R"({"body":"2026-11-01T10:00:00Z ci=d {\"EVT\":\"Start\"}\r\n)"
                             R"(2026-11-01T10:00:01Z ci=d {\"EVT\":\"End\"}"})"
                             "\n";
    std::string withoutEnd = goodRun("b");
    withoutEnd.resize(withoutEnd.size() - 2); // as the installer posts it
    const ReportFolder folder;
    const ImportResult result = folder.import("runs.db", goodRun("a") + escaped + json + "hello\n\n" + withoutEnd);
    EXPECT_EQ(result.lines, 12);
    EXPECT_EQ(result.added, 4);
    EXPECT_EQ(result.passed, 1);
}

TEST(Runs, AreFoundBehindALineThatIsLongerThanAny) {
    EXPECT_THAT(funnelOf(std::string(5'000'000, 'x') + "\n" + goodRun("a")), ElementsAre(1, 1, 1, 1));
}

TEST(Runs, AreRefusedFromAFileThatHoldsNone) {
    const ReportFolder folder;
    for (const std::string& noise :
         {std::string("\0\xFF\x80", 3), std::string("hello\n"), std::string(9'000'000, '\0')}) {
        EXPECT_THROW(folder.import("runs.db", noise), ReportError);
    }
    EXPECT_EQ(folder.import("runs.db", "").lines, 0);
    EXPECT_EQ(figuresOfFile(folder.path("runs.db")).funnel.started, 0);
}

TEST(Runs, OfABadFileLeaveTheDatabaseAsItWas) {
    const ReportFolder folder;
    folder.import("runs.db", goodRun("a"));
    std::atomic<bool> isCancelled{false};
    Database database(folder.path("runs.db"), Access::kWrite);
    EXPECT_THROW(importFiles(database, {folder.write("good", goodRun("b")), folder.path("missing")}, isCancelled),
                 ReportError);
    isCancelled = true;
    EXPECT_THROW(importFiles(database, {folder.path("good")}, isCancelled), Interrupted);
    EXPECT_EQ(figuresOf(database, {}).funnel.started, 1);
}

TEST(Runs, WithBytesThatAreNoTextShowThemAsReplaced) {
    const Figures figures =
        ReportFolder().figuresOf("2026-11-01T10:00:00Z ci=a {\"EVT\":\"Start\",\"APP\":\"K\xFF\"}\n");
    ASSERT_EQ(figures.dimensions[0].slices.size(), 1U);
    EXPECT_EQ(figures.dimensions[0].slices[0].name, "K\xEF\xBF\xBD");
}

TEST(Runs, KeepNoIdentifierInTheDatabase) {
    const ReportFolder folder;
    folder.import("runs.db", goodRun("5feceb66-fc86-48d9-8786-6d696c79c2db"));
    std::ifstream file(folder.path("runs.db"), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    EXPECT_NE(bytes.find("Kit"), std::string::npos);
    EXPECT_EQ(bytes.find("5feceb66"), std::string::npos);
}

TEST(Runs, AreCollectedOneBodyAtATime) {
    const ReportFolder folder;
    Collector collector(folder.path("runs.db"));
    EXPECT_EQ(collector.addBody(goodRun("a")), 4);
    EXPECT_EQ(collector.addBody(goodRun("a")), 4); // another run within the same second
    EXPECT_EQ(collector.addBody("not ours"), 0);
    EXPECT_EQ(collector.addBody(""), 0);
    EXPECT_EQ(figuresOfFile(folder.path("runs.db")).funnel.finished, 2);
}

TEST(Runs, AreCollectedFromManyThreadsWhileTheyAreRead) {
    const ReportFolder folder;
    Collector collector(folder.path("runs.db"));
    std::vector<std::thread> posting;
    for (int thread = 0; thread < 4; ++thread) {
        posting.emplace_back([&, thread] {
            for (int i = 0; i < 10; ++i) {
                collector.addBody(goodRun(std::to_string(thread * 100 + i)));
            }
        });
    }
    EXPECT_LE(figuresOfFile(folder.path("runs.db")).funnel.started, 40);
    for (std::thread& thread : posting) {
        thread.join();
    }
    EXPECT_EQ(figuresOfFile(folder.path("runs.db")).funnel.finished, 40);
}

TEST(DatabaseOfRuns, IsNeitherAForeignNorABrokenNorAMissingOne) {
    const ReportFolder folder;
    EXPECT_THROW(Database(folder.path("missing"), Access::kRead), ReportError);
    EXPECT_THROW(Database(folder.write("noise", std::string(4096, 'x')), Access::kRead), ReportError);
    EXPECT_THROW(
        Database(folder.write("cut", std::string("SQLite format 3\0", 16) + std::string(84, '\1')), Access::kWrite),
        ReportError);
    EXPECT_THROW(Database(folder.path("no/such/folder.db"), Access::kWrite), ReportError);
}

TEST(DatabaseOfRuns, ShowsTheSameFunnelToEverybodyWhoAsksInSql) {
    const ReportFolder folder;
    folder.import("runs.db",
                  goodRun("a") + line(0, "b", "Start") + line(1, "b", "Config", kFail) + line(2, "b", "Config", kFail));
    Database database(folder.path("runs.db"), Access::kRead);
    Statement funnel = database.prepare("SELECT started, configured, downloaded, finished FROM funnel");
    ASSERT_TRUE(funnel.step());
    EXPECT_EQ(funnel.integer(0), 2);
    EXPECT_EQ(funnel.integer(3), 1);
    for (const char* const view : {"product", "version", "country", "language", "system", "processor", "day"}) {
        Statement slices = database.prepare(std::string("SELECT name, started, finished FROM funnel_by_") + view);
        ASSERT_TRUE(slices.step()) << view;
        EXPECT_EQ(slices.integer(1), 2) << view;
        EXPECT_EQ(slices.integer(2), 1) << view;
    }
    Statement reasons = database.prepare("SELECT event, reason, lines, runs FROM failure_reasons");
    ASSERT_TRUE(reasons.step());
    EXPECT_EQ(reasons.text(0), "Config");
    EXPECT_EQ(reasons.text(1), "Configuration error");
    EXPECT_EQ(reasons.integer(2), 2);
    EXPECT_EQ(reasons.integer(3), 1);
}
