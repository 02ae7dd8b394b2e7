#include "tests/tools/qn-portal/report/ReportFolder.h"
#include "tools/qn-portal/report/Alert.h"
#include "tools/qn-portal/report/ReportError.h"
#include "tools/qn-portal/report/Tables.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace portal::report;
using test::goodRun;
using test::kFail;
using test::line;
using test::ReportFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// One good run in Germany, one that failed in Japan the day after the next.
const std::string kTwoRuns =
    R"(2026-11-01T10:00:00Z ci=a {"EVT":"Start","APP":"Kit","Ver":"1.0","CC":"DE","L":"de-DE","OS":"OS X","OSVer":"14.2.1","Proc":"Apple M1"})"
    "\n"
    R"(2026-11-01T10:00:01Z ci=a {"EVT":"Config","RSLT":"PASS","T":0.25})"
    "\n"
    R"(2026-11-01T10:00:21Z ci=a {"EVT":"Download","RSLT":"PASS","T":20.5})"
    "\n"
    R"(2026-11-01T10:01:00Z ci=a {"EVT":"End"})"
    "\n"
    R"(2026-11-03T23:59:59Z ci=b {"EVT":"Start","APP":"Kit, \"Pro\"","Ver":"1.1","CC":"JP","L":"ja-JP","OS":"OS X","OSVer":"13.6.0"})"
    "\n"
    R"(2026-11-04T00:00:01Z ci=b {"EVT":"Config","RSLT":"PASS","T":3})"
    "\n"
    R"(2026-11-04T00:00:09Z ci=b {"EVT":"Download","RSLT":"FAIL","RSN":"Error Domain=NSURLErrorDomain Code=-1001 \"The request timed out.\" UserInfo={x=1}"})"
    "\n";

std::vector<std::string> namesOf(const std::vector<Slice>& slices) {
    std::vector<std::string> names;
    for (const Slice& slice : slices) {
        names.push_back(slice.name + ":" + std::to_string(slice.stages.started) + ":" +
                        std::to_string(slice.stages.finished));
    }
    return names;
}

Figures twoRuns() {
    return ReportFolder().figuresOf(kTwoRuns);
}

std::vector<std::string> fired(const std::string& alert) {
    return firedAlerts({parseAlert(alert)}, twoRuns());
}

} // namespace

TEST(Figures, AreSplitByEveryDimension) {
    const Figures figures = twoRuns();
    EXPECT_EQ(figures.dimensions[0].name, "product");
    EXPECT_THAT(namesOf(figures.dimensions[0].slices), ElementsAre("Kit:1:1", "Kit, \"Pro\":1:0"));
    EXPECT_THAT(namesOf(figures.dimensions[1].slices), ElementsAre("1.0:1:1", "1.1:1:0"));
    EXPECT_THAT(namesOf(figures.dimensions[2].slices), ElementsAre("DE:1:1", "JP:1:0"));
    EXPECT_THAT(namesOf(figures.dimensions[3].slices), ElementsAre("de-DE:1:1", "ja-JP:1:0"));
    EXPECT_THAT(namesOf(figures.dimensions[4].slices), ElementsAre("OS X 13.6.0:1:0", "OS X 14.2.1:1:1"));
    EXPECT_THAT(namesOf(figures.dimensions[5].slices), ElementsAre(":1:0", "Apple M1:1:1"));
}

TEST(Figures, ShowEveryDayBetweenTheFirstAndTheLast) {
    EXPECT_THAT(namesOf(twoRuns().days), ElementsAre("2026-11-01:1:1", "2026-11-02:0:0", "2026-11-03:1:0"));
}

TEST(Figures, TellDurationsAsDistributions) {
    std::string lines;
    for (int i = 1; i <= 100; ++i) {
        const std::string ci = std::to_string(i);
        lines += line(0, ci, "Start") + line(1, ci, "Config", R"(,"RSLT":"PASS","T":)" + std::to_string(i) + ".5");
    }
    const Distribution config = ReportFolder().figuresOf(lines).durations[0];
    EXPECT_EQ(config.runs, 100);
    EXPECT_EQ(config.p10, 10.5);
    EXPECT_EQ(config.p50, 50.5);
    EXPECT_EQ(config.p90, 90.5);
    EXPECT_EQ(config.p99, 99.5);
    EXPECT_EQ(config.longest, 100.5);
    std::vector<std::pair<double, std::int64_t>> ranges;
    for (const auto& range : config.ranges) {
        ranges.emplace_back(range.from, range.runs);
    }
    using Range = std::pair<double, std::int64_t>;
    EXPECT_THAT(ranges, ElementsAre(Range(1, 1), Range(2, 3), Range(5, 5), Range(10, 10), Range(20, 10), Range(30, 30),
                                    Range(60, 41)));
}

TEST(Figures, PassOverDurationsThatNobodyMeasured) {
    const Figures figures =
        ReportFolder().figuresOf(line(0, "a", "Start") + line(1, "a", "Config", R"(,"RSLT":"PASS","T":-1)") +
                                 line(2, "a", "Download", R"(,"RSLT":"PASS","T":1e300)") + line(3, "a", "End"));
    EXPECT_EQ(figures.durations[0].runs, 0);
    EXPECT_EQ(figures.durations[1].runs, 0);
    EXPECT_EQ(figures.durations[2].p50, 3);
}

TEST(Figures, RankReasonsWithoutWhatDiffersInEachRun) {
    const Figures figures = ReportFolder().figuresOf(kTwoRuns + line(0, "c", "Start") + line(1, "c", "Config", kFail) +
                                                     line(2, "c", "Config", kFail) + line(3, "c", "End"));
    ASSERT_EQ(figures.reasons.size(), 2U);
    EXPECT_EQ(figures.reasons[0].reason, "Configuration error");
    EXPECT_EQ(figures.reasons[0].lines, 2);
    EXPECT_EQ(figures.reasons[0].runs, 1);
    EXPECT_EQ(figures.reasons[1].reason, "Error Domain=NSURLErrorDomain Code=-1001 \"The request timed out.\"");
    EXPECT_EQ(figures.configFails, 1);
    EXPECT_EQ(figures.downloadFails, 1);
}

TEST(Figures, AreThoseOfAPeriod) {
    const ReportFolder folder;
    folder.import("runs.db", kTwoRuns);
    Database database(folder.path("runs.db"), Access::kRead);
    const Figures later = figuresOf(database, {1'793'577'600, 1'793'750'400}); // 2 November, 4 November
    EXPECT_EQ(later.funnel.started, 1);
    EXPECT_EQ(later.funnel.finished, 0);
    EXPECT_EQ(later.reasons.size(), 1U);
    EXPECT_EQ(figuresOf(database, {0, 1'793'577'600}).reasons.size(), 0U);
}

TEST(Alerts, HoldWhenTheirMeasureIsBeyondTheLimit) {
    EXPECT_THAT(fired("download.fail>2%"), ElementsAre("download.fail>2%: it is 50%"));
    EXPECT_THAT(fired("download.fail>50%"), IsEmpty());
    EXPECT_THAT(fired("download.fail>0"), ElementsAre("download.fail>0: it is 1"));
    EXPECT_THAT(fired("config.fail>0%"), IsEmpty());
    EXPECT_THAT(fired("finished<80%"), ElementsAre("finished<80%: it is 50%"));
    EXPECT_THAT(fired("started<2"), IsEmpty());
    EXPECT_THAT(fired("end.missing>0"), ElementsAre("end.missing>0: it is 1"));
    EXPECT_THAT(fired("config.p90>2.5"), ElementsAre("config.p90>2.5: it is 3"));
    EXPECT_THAT(fired("download.p50<30"), ElementsAre("download.p50<30: it is 20.5"));
}

TEST(Alerts, NeverHoldForAShareOfNoRuns) {
    EXPECT_THAT(firedAlerts({parseAlert("finished<80%"), parseAlert("config.fail>2%")}, Figures{}), IsEmpty());
    EXPECT_THAT(firedAlerts({parseAlert("started<1")}, Figures{}), ElementsAre("started<1: it is 0"));
}

TEST(Alerts, AreRefusedWhenTheyAreNone) {
    for (const char* const text : {"", "config.fail", "config.fail>", "config.fail>x", "config.fail>2%%", "x>2",
                                   "config.p90>2%", ">2", "config.fail=2"}) {
        EXPECT_THROW(parseAlert(text), ReportError) << text;
    }
}

TEST(Tables, GiveTheSameNumbersAsJson) {
    const auto json = nlohmann::json::parse(jsonReport(twoRuns()));
    EXPECT_EQ(json["funnel"].dump(), R"({"configured":2,"downloaded":1,"finished":1,"started":2})");
    EXPECT_EQ(json["reasons"].dump(),
              R"([{"count":1,"event":"Download","reason":"Error Domain=NSURLErrorDomain Code=-1001 )"
              R"(\"The request timed out.\"","runs":1}])");
    EXPECT_EQ(json["by"]["country"][0].dump(),
              R"({"configured":1,"downloaded":1,"finished":1,"name":"DE","started":1})");
    EXPECT_EQ(json["durations"][1]["p50"], 20.5);
    EXPECT_EQ(json["days"][1]["name"], "2026-11-02");
}

TEST(Tables, GiveTheSameNumbersAsCsv) {
    const std::string csv = csvReport(twoRuns());
    EXPECT_THAT(csv, testing::StartsWith("table,name,measure,value\r\nfunnel,,started,2\r\nfunnel,,configured,2\r\n"
                                         "funnel,,downloaded,1\r\nfunnel,,finished,1\r\n"));
    EXPECT_THAT(csv, HasSubstr("product,\"Kit, \"\"Pro\"\"\",started,1\r\n"));
    EXPECT_THAT(csv, HasSubstr("seconds,download,p50,20.5\r\n"));
}

TEST(Tables, GiveTheSameNumbersAsTextOfAtMostAHundredColumns) {
    const std::string text = textReport(ReportFolder().figuresOf(
        kTwoRuns + line(0, "c", "Start", ",\"Proc\":\"" + std::string(300, 'x') + "\"") +
        line(1, "c", "Config", ",\"RSLT\":\"FAIL\",\"RSN\":\"" + std::string(300, 'y') + "\"")));
    EXPECT_THAT(text, HasSubstr("  started                 3  100.0%  ##############################\n"
                                "  configured              2   66.7%  ####################\n"));
    std::istringstream lines(text);
    for (std::string one; std::getline(lines, one);) {
        EXPECT_LE(one.size(), 100U) << one;
    }
}

TEST(Tables, ShowAReportOfNothing) {
    EXPECT_THAT(textReport(Figures{}), HasSubstr("  started                 0       -  \n"));
    EXPECT_EQ(nlohmann::json::parse(jsonReport(Figures{}))["funnel"]["started"], 0);
}
