#include "tests/tools/qn-portal/ServeProgram.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

TEST(ServeVerb, TellsItsAddressesOnOneLine) {
    ServeProgram program({});
    const auto line = program.addresses();
    const std::string base = "http://127.0.0.1:" + std::to_string(line["port"].get<int>());
    EXPECT_EQ(line["config"], base + "/config.json");
    EXPECT_EQ(line["image"], base + "/download/Installer.dmg");
    EXPECT_EQ(line["analytics"], base + "/analytics");
    EXPECT_EQ(line["page"], base + "/");
    EXPECT_EQ(program.end(), 0);
}

TEST(ServeVerb, AnswersWithAConfiguration) {
    ServeProgram program({"--app-name", "Kit"});
    const std::string answer = program.request("GET /config.json HTTP/1.1\r\nHost: h\r\n\r\n", "}\n");
    EXPECT_THAT(answer, HasSubstr("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(answer, HasSubstr("\"appName\": \"Kit\""));
}

TEST(ServeVerb, DoesWrongWhatItIsTold) {
    ServeProgram program({"--fault", "analytics-500", "--fault", "config-trailing-comma"});
    EXPECT_THAT(program.request("POST /analytics HTTP/1.1\r\nContent-Length: 2\r\n\r\nhi", "oops"),
                HasSubstr("HTTP/1.1 500 Internal Server Error\r\n"));
    EXPECT_THAT(program.request("GET /config.json HTTP/1.1\r\n\r\n", ",}"), HasSubstr(",}"));
}

TEST(ServeVerb, ShowsRequestsOnItsPage) {
    ServeProgram program({});
    static_cast<void>(program.request("GET /nothing?here HTTP/1.1\r\nX-Kit: 7\r\n\r\n", "here"));
    EXPECT_THAT(program.request("GET / HTTP/1.1\r\n\r\n", "</html>"), HasSubstr("<title>Requests</title>"));
    const std::string list = program.request("GET /requests.json?after=0 HTTP/1.1\r\n\r\n", "]}");
    EXPECT_THAT(list, HasSubstr("\"count\": 1"));
    EXPECT_THAT(list, HasSubstr("\"target\":\"/nothing?here\""));
    EXPECT_THAT(list, HasSubstr("[\"X-Kit\",\"7\"]"));
}

TEST(ServeVerb, WaitsBeforeItAnswersWhenItIsTold) {
    ServeProgram program({"--latency", "300"});
    const auto begin = std::chrono::steady_clock::now();
    static_cast<void>(program.request("GET /page HTTP/1.1\r\n\r\n", "</title>"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
}

TEST(ServeVerb, IsAGoodPortalByItself) {
    ServeProgram program({});
    const auto check = ServeProgram::runVerb("check", {"--local", "--strict", program.addresses()["config"]});
    EXPECT_EQ(check.status, 0) << check.output;
    EXPECT_THAT(check.output, HasSubstr("0 errors, 0 warnings, 0 notes; 3 things checked."));
}

TEST(ServeVerb, RefusesAFaultThatThereIsNot) {
    EXPECT_EQ(ServeProgram::run({"--fault", "config-nonsense"}).status, 2);
    EXPECT_EQ(ServeProgram::run({"--fault", "config-404=7"}).status, 2);
    EXPECT_EQ(ServeProgram::run({"--fault", "slow-analytics=soon"}).status, 2);
    EXPECT_EQ(ServeProgram::run({"--fault", "tls-expired"}).status, 2); // without --tls
    EXPECT_EQ(ServeProgram::run({"--fault", "status=404@page"}).status, 2);
    EXPECT_EQ(ServeProgram::run({"--fault", "config-404@config"}).status, 2);
}

TEST(ServeVerb, SpoilsTheOneAnswerThatIsNamed) {
    ServeProgram program({"--fault", "status=503@image"});
    EXPECT_THAT(program.request("GET /download/Installer.dmg HTTP/1.1\r\n\r\n", "\r\n\r\n"),
                StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(program.request("GET /config.json HTTP/1.1\r\n\r\n", "\r\n\r\n"), StartsWith("HTTP/1.1 200 "));
}

TEST(ServeVerb, TellsTheAddressesThatAFaultLeadsTo) {
    const ServeProgram program({"--fault", "name-unknown@image"});
    EXPECT_EQ(program.addresses()["image"], "http://no-such-host.invalid/download/Installer.dmg");
    EXPECT_THAT(program.addresses()["config"].get<std::string>(), StartsWith("http://127.0.0.1:"));
}

TEST(ServeVerb, RefusesWhatItCannotServeWithOneSentence) {
    const std::string noise("\x01\xfe\0\x02noise", 9);
    const std::string file = testing::TempDir() + "serve-noise";
    std::ofstream(file, std::ios::binary) << noise;
    for (const auto& [option, value] : std::vector<std::pair<std::string, std::string>>{
             {"--image", file}, {"--config", file}, {"--collect", file}, {"--image", "missing"}, {"--config", "/"}}) {
        const auto refused = ServeProgram::run({option, value});
        EXPECT_EQ(refused.status, 2) << option << ' ' << value;
        EXPECT_EQ(refused.output, "") << option << ' ' << value;
    }
    std::remove(file.c_str());
}

TEST(ServeVerb, ListsItsFaultsOneALine) {
    const auto listed = ServeProgram::run({"--list-faults"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_GE(std::ranges::count(listed.output, '\n'), 60);
    EXPECT_THAT(listed.output, HasSubstr("\nreset-in-body "));
    EXPECT_THAT(listed.output, HasSubstr("\nslow-analytics=5 "));
}

TEST(ServeVerb, WritesTheAuthorityThatAClientMustTrust) {
    ServeProgram program({"--tls", "--authority", "authority.pem"});
    EXPECT_EQ(program.addresses()["authority"], "authority.pem");
    std::ifstream file(program.folder() + "/authority.pem");
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_THAT(text.str(), HasSubstr("-----BEGIN CERTIFICATE-----"));
}

TEST(ServeVerb, KeepsAnalyticsForTheReport) {
    ServeProgram program({"--collect", "runs.db"});
    const std::string line = R"(2026-03-05T14:07:09+01:00 ci=01234567-89ab-cdef-0123-456789abcdef )"
                             R"({"EVT":"Start","APP":"Kit","OS":"OS X","Ver":"1.0","CC":"DE","L":"de-DE"})";
    static_cast<void>(program.request(
        "POST /analytics HTTP/1.1\r\nContent-Length: " + std::to_string(line.size()) + "\r\n\r\n" + line, "thank you"));
    EXPECT_EQ(program.end(), 0);
    const auto report = ServeProgram::runVerb("report", {"--json", program.folder() + "/runs.db"});
    EXPECT_EQ(report.status, 0);
    EXPECT_THAT(report.output, HasSubstr("\"started\""));
}

} // namespace
