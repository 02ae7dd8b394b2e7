#include "tests/tools/qn-portal/log/LogText.h"
#include "tools/qn-portal/log/Printer.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

using namespace portal::eventlog;
using Json = nlohmann::json;
using test::event;
using test::head;
using test::plain;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using MakePrinter = std::unique_ptr<Printer> (*)(Output&);

std::string printed(MakePrinter make, const std::string& log) {
    std::string text;
    Output output([&](std::string_view piece) { text += piece; });
    const auto printer = make(output);
    RunSplitter splitter(*printer);
    EntryReader reader([&](const Entry& entry) { splitter.add(entry); });
    printer->begin();
    std::memcpy(reader.room().data(), log.data(), log.size());
    reader.filled(log.size());
    reader.finish();
    splitter.finish();
    printer->end();
    output.flush();
    return text;
}

std::vector<Json> jsonOf(const std::string& log) {
    std::vector<Json> lines;
    std::istringstream text(printed(jsonPrinter, log));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(Json::parse(line));
    }
    return lines;
}

std::string start(const std::string& second) {
    return plain(second, "Removing app cache from /Users/****/Library/Caches/x .") + plain(second, "Kit start.") +
           event(second, R"({"APP":"Kit","EVT":"Start"})");
}

// How a run with these entries behind its start is summed up.
std::string verdictOf(const std::string& log) {
    const std::string text = printed(textPrinter, start("00") + log);
    const std::size_t at = text.find("  => ");
    return text.substr(at + 5, text.size() - at - 7);
}

const std::string kEnd = event("59", R"({"EVT":"End"})");

} // namespace

TEST(LogAsText, ShowsARunAsATimeline) {
    EXPECT_EQ(printed(textPrinter,
                      start("05") + plain("06", "Show Connecting screen") +
                          event("07", R"({"EVT":"Config","RSLT":"FAIL","RSN":"Configuration \"error\"","T":1.5})") +
                          plain("07", "two\r\nlines and \x1b[31m", "ERROR") + kEnd),
              "Run 1  2026-01-02T03:04:05Z\n"
              "      0 s  DEBUG  Removing app cache from /Users/****/Library/Caches/x .\n"
              "      0 s  DEBUG  Kit start.\n"
              "      0 s  EVT    Start\n"
              "      1 s  DEBUG  Show Connecting screen\n"
              "      2 s  EVT    Config FAIL: Configuration \\\"error\\\", 1.5 s\n"
              "      2 s  ERROR  two\n                  lines and \\x1b[31m\n"
              "     54 s  EVT    End\n"
              "  => 54 s; the last screen: connecting. The configuration has no active action, or none of its software "
              "is active.\n\n");
}

TEST(LogAsText, TellsRunsApartByTheFirstEntriesOfAProgram) {
    const std::string text = printed(textPrinter, plain("00", "from before") + start("01") + kEnd + start("02") +
                                                      plain("03", "Kit start.") + event("04", R"({"EVT":"Start"})"));
    EXPECT_THAT(text,
                HasSubstr("Run 4  2026-01-02T03:04:03Z\n      0 s  DEBUG  Kit start.\n      1 s  EVT    Start\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("Run 5")));
}

TEST(LogAsText, SaysInOneSentenceWhatWentWrong) {
    const std::string connecting = plain("01", "Show Connecting screen");
    const std::string error = plain("09", "Show generic error screen.");
    const std::pair<std::string, std::string> table[] = {
        {connecting + kEnd, "59 s; the last screen: connecting. Nothing went wrong."},
        {plain("01", "Show NoInternet screen") + kEnd,
         "59 s; the last screen: no internet. There was no internet connection."},
        {plain("01", "Show NoInternet screen") + connecting + kEnd,
         "59 s; the last screen: connecting. Nothing went wrong."},
        {connecting + plain("02", "Error loading config: https://x Error: timed out") + error + kEnd,
         "59 s; the last screen: error. The configuration could not be fetched: https://x Error: timed out"},
        {connecting + plain("02", "Config parse error. Error: (null)", "ERROR") + error + kEnd,
         "59 s; the last screen: error. The configuration's answer is not JSON."},
        {connecting + plain("02", "Download failed: https://x/a.dmg (error = HTTP Response with status code 404)") +
             error + event("09", R"({"EVT":"Download","RSLT":"FAIL"})") + plain("10", "Analytics send error x") + kEnd,
         "59 s; the last screen: error. The image could not be downloaded: https://x/a.dmg (error = HTTP Response with "
         "status code 404)"},
        {plain("02", "DMG mount error. Please check the contents of DMG file from config.") + error +
             event("09", R"({"EVT":"Config","RSLT":"FAIL"})") + kEnd,
         "59 s; the last screen: error. The image could not be mounted."},
        {plain("02", "\"/Volumes/Kit/Kit.app \"path does not exist.", "ERROR") + error + kEnd,
         "59 s; the last screen: error. The application in the image is not there: \"/Volumes/Kit/Kit.app \"path does "
         "not exist."},
        {plain("02", "Closing Connecting screen.") +
             plain("30", "Installer from path : \"/Volumes/Kit/Kit.app \" finished running. Return value: 0") + kEnd,
         "59 s; the last screen: hidden, while the installer ran. The installer told a failure when it ended."},
        {connecting + plain("02", "Download started: https://x/a.dmg") + kEnd,
         "59 s; the last screen: connecting. It was ended while the image was on its way."},
        {plain("05", "Application crashed with [reason: r and userInfo: (null)]", "ERROR") + kEnd,
         "59 s; the last screen: none. The program crashed: [reason: r and userInfo: (null)]"},
        {connecting, "1 s; the last screen: connecting. Nothing tells of its end: the program was killed, or it still "
                     "runs."},
    };
    for (const auto& [log, expected] : table) {
        EXPECT_EQ(verdictOf(log), expected);
    }
}

TEST(LogAsJson, GivesEachEntryAsOneObject) {
    const auto lines = jsonOf(plain("05", "a \"b\"\r\nc\\") + event("06", R"({"EVT":"Start","T":1.5})"));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], Json::parse(R"({"time": "2026-01-02T03:04:05Z", "level": "DEBUG", "message": "a \"b\"\r\nc\\",
                                        "run": 1, "ci": "abc", "lang": "en", "country": "GB", "locale": "en-GB",
                                        "file": "F.cpp", "fn": "-[C f:]", "line": "42"})"));
    EXPECT_EQ(lines[1]["event"], Json::parse(R"({"EVT":"Start","T":1.5})"));
    EXPECT_EQ(lines[1]["message"], R"({"EVT":"Start","T":1.5})");
    EXPECT_EQ(lines[1]["level"], "EVT");
}

TEST(LogAsJson, CountsRuns) {
    std::vector<int> runs;
    for (const Json& line : jsonOf(start("01") + kEnd + start("02"))) {
        runs.push_back(line["run"]);
    }
    EXPECT_THAT(runs, ElementsAre(1, 1, 1, 1, 2, 2, 2));
}

TEST(LogAsJson, MarksACutLine) {
    const auto lines = jsonOf(plain("05", "a") + head("06") + "\" half a mess");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_FALSE(lines[0].contains("cut"));
    EXPECT_EQ(lines[1]["cut"], true);
    EXPECT_EQ(lines[1]["message"], "half a mess");
    EXPECT_EQ(lines[1]["time"], "2026-01-02T03:04:06Z");
}

TEST(LogAsJson, StaysJsonWhateverTheLogHolds) {
    const auto lines = jsonOf("\xFF\n" + plain("05", "\xC3 \x01\x7F") + event("06", "{\"a\":***}") + event("07", "") +
                              event("08", "{\"a\":\n\"b\"}"));
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0]["time"], nullptr);
    EXPECT_EQ(lines[0]["message"], "\xEF\xBF\xBD");
    EXPECT_EQ(lines[1]["message"], "\xEF\xBF\xBD \x01\x7F");
    EXPECT_FALSE(lines[2].contains("event"));
    EXPECT_EQ(lines[2]["message"], "{\"a\":***}");
    EXPECT_EQ(lines[4]["event"]["a"], "b");
}

TEST(LogAsPage, ShowsWhatTheLogHoldsAsTextOnly) {
    const std::string page = printed(pagePrinter, start("01") + plain("02", "<script>alert(1)</script> & \"x\""));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt; &amp; &quot;x&quot;"));
    EXPECT_THAT(page, testing::Not(HasSubstr("<script")));
    EXPECT_THAT(page, HasSubstr("<h2>Run 1: 2026-01-02T03:04:01Z</h2>"));
    EXPECT_THAT(page, testing::EndsWith("</html>\n"));
}
