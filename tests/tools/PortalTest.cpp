#include "tools/portal/Content.h"

#include <gmock/gmock.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

using Json = nlohmann::json;

namespace {

class Folder {
public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "portal-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string file(const std::string& name) const { return path_ + "/" + name; }
    std::string write(const std::string& name, const std::string& contents) const {
        std::ofstream(file(name), std::ios::binary) << contents;
        return file(name);
    }

private:
    std::string path_;
};

// The built program as a process of its own.
class RunningPortal {
public:
    explicit RunningPortal(std::vector<std::string> arguments) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        arguments.insert(arguments.begin(), PORTAL_PROGRAM);
        std::vector<char*> pointers;
        for (auto& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        EXPECT_EQ(posix_spawn(&pid_, PORTAL_PROGRAM, &actions, nullptr, pointers.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        readFirstLine(ends[0]);
        close(ends[0]);
    }
    ~RunningPortal() { stop(); }
    RunningPortal(const RunningPortal&) = delete;
    RunningPortal& operator=(const RunningPortal&) = delete;

    const std::string& line() const { return line_; }
    Json addresses() const { return Json::parse(line_); }
    httplib::Client client() const { return httplib::Client("127.0.0.1", addresses()["port"].get<int>()); }

    int stop(int signal = SIGTERM) {
        if (pid_ > 0) {
            kill(pid_, signal);
            waitpid(pid_, &status_, 0);
        }
        pid_ = 0;
        return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
    }
    // For a portal that ends by itself.
    int wait() {
        waitpid(std::exchange(pid_, 0), &status_, 0);
        return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
    }

private:
    void readFirstLine(int descriptor) {
        char byte = 0;
        while (read(descriptor, &byte, 1) == 1 && byte != '\n') {
            line_ += byte;
        }
    }

    pid_t pid_ = 0;
    int status_ = 0;
    std::string line_;
};

std::vector<Json> recordIn(const std::string& path) {
    std::vector<Json> entries;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        entries.push_back(Json::parse(line));
    }
    return entries;
}

} // namespace

TEST(Portal, PrintsItsAddressesInOneLine) {
    RunningPortal portal({"--ending", "open-link"});
    const auto addresses = portal.addresses();
    const std::string base = "http://127.0.0.1:" + std::to_string(addresses["port"].get<int>());
    EXPECT_EQ(addresses, Json({{"port", addresses["port"]},
                               {"config", base + "/config.json"},
                               {"image", base + "/download/Installer.dmg"},
                               {"analytics", base + "/analytics"}}));
}

TEST(Portal, ServesAnInstallationWithItsImage) {
    const Folder folder;
    RunningPortal portal({"--image", folder.write("i.dmg", std::string(3'000'000, 'i')), "--app-name", "Kit",
                          "--command-line-args", "--a --b"});
    auto client = portal.client();
    const auto document = Json::parse(client.Get("/config.json")->body);
    EXPECT_EQ(document["userAction"][0]["action"], "install");
    EXPECT_EQ(document["userAction"][0]["isActive"], "1");
    EXPECT_EQ(document["software"][0]["IsActive"], "1");
    EXPECT_EQ(document["software"][0]["macUrl"], portal.addresses()["image"]);
    EXPECT_EQ(document["software"][0]["appName"], "Kit");
    EXPECT_EQ(document["software"][0]["commandLineArgs"], "--a --b");
    EXPECT_EQ(document["analyticsUrl"], portal.addresses()["analytics"]);
    const auto image = client.Get("/download/Installer.dmg");
    EXPECT_EQ(image->status, 200);
    EXPECT_EQ(image->body, std::string(3'000'000, 'i'));
}

TEST(Portal, OffersALinkThatOpensAtOnceOnlyWhenAsked) {
    for (const bool autoOpen : {false, true}) {
        std::vector<std::string> arguments{"--ending", "open-link", "--link", "https://example.com/x"};
        if (autoOpen) {
            arguments.emplace_back("--auto-open");
        }
        RunningPortal portal(arguments);
        const auto action = Json::parse(portal.client().Get("/config.json")->body)["userAction"][0];
        EXPECT_EQ(action["action"], "openLink");
        EXPECT_EQ(action["actionUrl"], "https://example.com/x");
        EXPECT_EQ(action.value("customParam", ""), autoOpen ? "autoOpen" : "");
    }
}

TEST(Portal, ServesAConfigurationThatIsNoJson) {
    RunningPortal portal({"--ending", "config-error"});
    const auto result = portal.client().Get("/config.json");
    EXPECT_EQ(result->status, 200);
    EXPECT_FALSE(Json::accept(result->body));
}

TEST(Portal, AnswersTheImageWith404OrWithGarbage) {
    RunningPortal missing({"--ending", "http-404"});
    EXPECT_TRUE(Json::accept(missing.client().Get("/config.json")->body));
    EXPECT_EQ(missing.client().Get("/download/Installer.dmg")->status, 404);
    RunningPortal garbage({"--ending", "bad-image"});
    const auto image = garbage.client().Get("/download/Installer.dmg");
    EXPECT_EQ(image->status, 200);
    EXPECT_EQ(image->body, portal::garbageImage());
}

TEST(Portal, FillsItsAddressIntoAGivenConfiguration) {
    const Folder folder;
    RunningPortal portal(
        {"--config", folder.write("c.json", R"({"analyticsUrl":"@PORTAL@/analytics","a":"@PORTAL@"})")});
    const auto document = Json::parse(portal.client().Get("/config.json")->body);
    EXPECT_EQ(document["analyticsUrl"], portal.addresses()["analytics"]);
}

TEST(Portal, RecordsEveryRequestBeforeItAnswers) {
    const Folder folder;
    const auto record = folder.file("record");
    RunningPortal portal({"--ending", "http-404", "--record", record});
    auto client = portal.client();
    const httplib::Headers headers{{"appName", "Kit"}, {"ci", "42"}};
    client.Get("/config.json", headers);
    client.Get("/download/Installer.dmg");
    const std::string lines = "one\r\n" + std::string(20000, 'x');
    EXPECT_EQ(client.Post("/analytics", lines, "application/x-www-form-urlencoded")->status, 200);
    client.Get("/else?q=1");

    const auto entries = recordIn(record);
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0]["method"], "GET");
    EXPECT_EQ(entries[0]["target"], "/config.json");
    EXPECT_EQ(entries[0]["status"], 200);
    EXPECT_THAT(entries[0]["headers"], testing::Contains(Json::array({"appName", "Kit"})));
    EXPECT_THAT(entries[0]["headers"], testing::Contains(Json::array({"ci", "42"})));
    EXPECT_EQ(entries[1]["status"], 404);
    EXPECT_EQ(entries[2]["method"], "POST");
    EXPECT_EQ(entries[2]["body"], lines);
    EXPECT_EQ(entries[3]["target"], "/else?q=1");
    EXPECT_EQ(entries[3]["status"], 404);
    for (const auto& header : entries[0]["headers"]) {
        EXPECT_NE(header[0], "REMOTE_ADDR");
    }
}

TEST(Portal, EndsOrderlyOnASignal) {
    for (const int signal : {SIGTERM, SIGINT}) {
        RunningPortal portal({"--ending", "config-error"});
        EXPECT_EQ(portal.stop(signal), 0);
    }
}

TEST(Portal, RefusesWhatItCannotUse) {
    EXPECT_EQ(RunningPortal({"--colour"}).wait(), 2);
    EXPECT_EQ(RunningPortal({"--image", "/no/such/image.dmg"}).wait(), 1);
    EXPECT_EQ(RunningPortal({"--config", "/no/such/config"}).wait(), 1);
    EXPECT_EQ(RunningPortal({"--ending", "open-link", "--record", "/no/such/folder/record"}).wait(), 1);
    RunningPortal first({"--ending", "open-link"});
    const auto port = std::to_string(first.addresses()["port"].get<int>());
    EXPECT_EQ(RunningPortal({"--ending", "open-link", "--port", port}).wait(), 1);
}

TEST(Portal, ExplainsItself) {
    RunningPortal portal({"--help"});
    EXPECT_EQ(portal.wait(), 0);
    EXPECT_EQ(portal.line().substr(0, 7), "portal:");
}
