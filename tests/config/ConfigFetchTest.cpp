#include "config/QNConfig.h"
#include "config/QNConfigProvider.h"

#include "platform/base/MainQueue.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/ProcessArguments.h"
#include "sysinfo/QNPortalProvider.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;
using loopback::LoopbackServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

const char* const kInstall = R"({"analyticsUrl":"https://h/collect","userAction":[{"action":"install","isActive":"1"}],
                                 "software":[{"IsActive":"1","macUrl":"https://h/a.dmg"}]})";

// What the callback got.
struct Outcome {
    int calls = 0;
    bool onMainThread = false;
    std::shared_ptr<QNConfig> model;
    std::optional<TransportError> error;
};

// One text for each "CHANGE_ANALYTICS_URL".
class AnalyticsAddresses {
public:
    AnalyticsAddresses() {
        NotificationCenter::defaultCenter().addObserver(kChangeAnalyticsUrl, [this](const Notification& notification) {
            const std::lock_guard lock(mutex_);
            const auto* text = std::get_if<QString>(&notification.object);
            seen_ += text ? *text : u"absent"_s;
            onMainThread_ = MainQueue::isMainThread();
        });
    }
    QStringList seen() const {
        const std::lock_guard lock(mutex_);
        return seen_;
    }
    bool onMainThread() const { return onMainThread_; }

private:
    mutable std::mutex mutex_;
    QStringList seen_;
    std::atomic<bool> onMainThread_ = false;
};

class ConfigFetch : public testing::Test {
protected:
    ConfigFetch() {
        test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
        test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"14.2.1\"\n");
        test::setEnvironment("LANG", "de_AT.UTF-8");
        test::setSetting(u"AnalyticsProductName"_s, u"SampleProduct"_s);
        setArguments({});
        configure(server.address("/config.json"));
    }

    static void setArguments(const QStringList& arguments) {
        setProcessArguments(QStringList{u"/Program"_s} + arguments);
    }
    static void configure(const std::string& address) {
        test::setSetting(u"PRODUCTION_URL"_s, QString::fromStdString(address));
    }

    // Runs one request to its callback, and the queue once more: a second call would be seen.
    static Outcome fetch() {
        Outcome outcome;
        QNConfigProvider::loadConfigWithCompletion(
            [&](std::shared_ptr<QNConfig> model, std::optional<TransportError> error) {
                outcome = {outcome.calls + 1, MainQueue::isMainThread(), std::move(model), std::move(error)};
            });
        EXPECT_TRUE(test::waitFor([&] { return outcome.calls > 0; }));
        bool turned = false;
        MainQueue::async([&] { turned = true; });
        EXPECT_TRUE(test::waitFor([&] { return turned; }));
        EXPECT_EQ(outcome.calls, 1);
        EXPECT_TRUE(outcome.onMainThread);
        return outcome;
    }
    Outcome fetchAnswered(const std::string& body, int status = 200) {
        server.expect("GET /config.json", loopback::replyWithStatus(status, body));
        return fetch();
    }

    LoopbackServer server;
    AnalyticsAddresses addresses;
};

// The level word of each entry.
QStringList levels() {
    QStringList words;
    for (const QString& line : test::eventLog())
        words += line.section(u"\"trace\": \""_s, 1).section(u'"', 0, 0);
    return words;
}

} // namespace

TEST_F(ConfigFetch, DeliversTheModelOnTheMainThread) {
    const Outcome outcome = fetchAnswered(kInstall);
    ASSERT_TRUE(outcome.model);
    EXPECT_FALSE(outcome.error);
    EXPECT_EQ(outcome.model->latestMacURL(), u"https://h/a.dmg"_s);
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"Config successful"_s));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s));
    EXPECT_TRUE(test::eventLog()[0].contains(u"\"file\": \"QNConfigProviderFetch.cpp\", \"fn\": "
                                             "\"+[QNConfigProvider loadConfigWithCompletion:]\", \"line\": \""_s));
}

TEST_F(ConfigFetch, SendsAPlainGetWithTheSixHeadersInOrder) {
    fetchAnswered(kInstall);
    const auto request = server.requests().at(0);
    EXPECT_EQ(request.line, "GET /config.json HTTP/1.1");
    EXPECT_EQ(request.body, "");
    loopback::Headers ours;
    for (const auto& header : request.headers) {
        for (const char* name : {"appName", "ci", "os", "osVer", "country", "locale"}) {
            if (header.first == name)
                ours.push_back(header);
        }
    }
    EXPECT_THAT(ours, ElementsAre(Pair("appName", "SampleProduct"),
                                  Pair("ci", QNPortalProvider::getCi()->toStdString()), Pair("os", "mac"),
                                  Pair("osVer", "14.2.1"), Pair("country", "AT"), Pair("locale", "de-AT")));
}

TEST_F(ConfigFetch, LeavesAHeaderWithoutAValueOut) {
    test::setSetting(u"AnalyticsProductName"_s, QVariant());
    fetchAnswered(kInstall);
    EXPECT_EQ(server.requests().at(0).header("appName"), std::nullopt);
    EXPECT_EQ(server.requests().at(0).header("os"), "mac");
}

TEST_F(ConfigFetch, TellsArgumentsAddressAndHeadersOnTheConsole) {
    setArguments({u"word"_s});
    QNPortalProvider::getCi();
    QNConfigProvider::getPortalConfig();
    server.expect("GET /config.json", loopback::replyWith(kInstall));
    const QStringList console = test::consoleLinesOf([] { fetch(); });
    const QString address = QString::fromStdString(server.address("/config.json"));
    EXPECT_THAT(console, ElementsAre(u"ARGS: ("_s, u"    \"/Program\","_s, u"    word"_s, u")"_s, u"URL: "_s + address,
                                     u"GET request header {"_s, u"    appName = SampleProduct;"_s,
                                     u"    ci = \""_s + *QNPortalProvider::getCi() + u"\";"_s, u"    country = AT;"_s,
                                     u"    locale = \"de-AT\";"_s, u"    os = mac;"_s, u"    osVer = \"14.2.1\";"_s,
                                     u"}"_s, u"action: install"_s));
}

TEST_F(ConfigFetch, AsksTheFirstArgumentsAddressInstead) {
    LoopbackServer other;
    other.expect("GET /mine?a=b", loopback::replyWith(kInstall));
    setArguments({QString::fromStdString(other.address("/mine?a=b")), u"http://second.example.com/"_s});
    EXPECT_TRUE(fetch().model);
}

TEST_F(ConfigFetch, StaysWithTheConfiguredAddressWhenTheArgumentIsNone) {
    setArguments({u"--option"_s, u"http://second.example.com/"_s});
    EXPECT_TRUE(fetchAnswered(kInstall).model);
}

TEST_F(ConfigFetch, DoesNothingAtAllWithoutACallback) {
    const QStringList console = test::consoleLinesOf([] {
        QNConfigProvider::loadConfigWithCompletion({});
        QCoreApplication::processEvents();
    });
    EXPECT_THAT(console, IsEmpty());
    EXPECT_THAT(test::eventLog(), IsEmpty());
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(ConfigFetch, ReturnsAtOnceAndCallsBackOnlyFromTheQueue) {
    server.expect("GET /config.json", loopback::replyWith(kInstall));
    int calls = 0;
    QNConfigProvider::loadConfigWithCompletion([&](const auto&, const auto&) { ++calls; });
    EXPECT_TRUE(server.waitForRequests(1));
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (addresses.seen().isEmpty() && std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
    EXPECT_EQ(calls, 0); // the answer has been worked on, but this thread's queue has not run
    EXPECT_THAT(addresses.seen(), ElementsAre(u"https://h/collect"_s));
    EXPECT_TRUE(test::waitFor([&] { return calls == 1; }));
}

TEST_F(ConfigFetch, PostsTheAnalyticsAddressOnTheRequestsThreadBeforeTheCallback) {
    QStringList order;
    NotificationCenter::defaultCenter().addObserver(kChangeAnalyticsUrl,
                                                    [&](const Notification&) { order += u"post"_s; });
    server.expect("GET /config.json", loopback::replyWith(kInstall));
    QNConfigProvider::loadConfigWithCompletion([&](const auto&, const auto&) { order += u"callback"_s; });
    EXPECT_TRUE(test::waitFor([&] { return order.size() == 2; }));
    EXPECT_THAT(order, ElementsAre(u"post"_s, u"callback"_s));
    EXPECT_FALSE(addresses.onMainThread());
    EXPECT_THAT(addresses.seen(), ElementsAre(u"https://h/collect"_s));
}

TEST_F(ConfigFetch, PostsAnAbsentAnalyticsAddressToo) {
    EXPECT_TRUE(fetchAnswered(R"({"userAction":[]})").model);
    EXPECT_TRUE(fetchAnswered(R"({"analyticsUrl":5})").model);
    EXPECT_TRUE(fetchAnswered(R"({"analyticsUrl":""})").model);
    EXPECT_THAT(addresses.seen(), ElementsAre(u"absent"_s, u"absent"_s, u""_s));
}

TEST_F(ConfigFetch, LooksAtNoStatus) {
    EXPECT_TRUE(fetchAnswered(kInstall, 500).model);
    EXPECT_TRUE(fetchAnswered(kInstall, 404).model);
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s, u"DEBUG"_s));
}

TEST_F(ConfigFetch, FetchesAnewEachTime) {
    EXPECT_EQ(fetchAnswered(R"({"analyticsUrl":"a"})").model->analyticsURL(), u"a"_s);
    EXPECT_EQ(fetchAnswered(R"({"analyticsUrl":"b"})").model->analyticsURL(), u"b"_s);
}

TEST_F(ConfigFetch, AcceptsAnotherActionWithoutLookingAtTheSoftware) {
    EXPECT_TRUE(fetchAnswered(R"({"userAction":[{"action":"openLink","isActive":"1"}],
                                  "software":[{"IsActive":"1","macUrl":"https://h/a.pkg"}]})")
                    .model);
}

TEST_F(ConfigFetch, LetsAnInstallationWithoutAnAddressThrough) {
    EXPECT_TRUE(fetchAnswered(R"({"userAction":[{"action":"install","isActive":"1"}]})").model);
}

class ParseFailure : public ConfigFetch, public testing::WithParamInterface<const char*> {};

TEST_P(ParseFailure, LogsSuccessThenAnErrorThatEndsInNullAndDeliversNothing) {
    Outcome outcome;
    const QStringList console = test::consoleLinesOf([&] { outcome = fetchAnswered(GetParam()); });
    EXPECT_FALSE(outcome.model);
    EXPECT_FALSE(outcome.error);
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"Config successful"_s, u"Config parse error. Error: (null)"_s));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s, u"ERROR"_s));
    EXPECT_TRUE(console.last().startsWith(u"Error is The document "_s)) << console.last().toStdString();
    EXPECT_THAT(addresses.seen(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Bodies, ParseFailure,
                         testing::Values("<html>no</html>", "", "{", "[1,2]", "5", "\"text\"", "null"));

class WrongFormat : public ConfigFetch, public testing::WithParamInterface<const char*> {};

TEST_P(WrongFormat, LogsTheAddressAndDeliversNothing) {
    const std::string address = GetParam();
    const Outcome outcome = fetchAnswered(R"({"analyticsUrl":"a","userAction":[{"action":"install","isActive":"1"}],
        "software":[{"IsActive":"1","macUrl":")" +
                                          address + R"("}]})");
    EXPECT_FALSE(outcome.model);
    EXPECT_FALSE(outcome.error);
    EXPECT_THAT(test::eventLogMessages(),
                ElementsAre(u"Config successful"_s, u"Config parse error. Invalid file format specified for Mac: "_s +
                                                        QString::fromStdString(address)));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s, u"ERROR"_s));
    EXPECT_THAT(addresses.seen(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Addresses, WrongFormat,
                         testing::Values("https://h/a.pkg", "https://h/a", "https://h/a.dmg?x=1", ""));

TEST_F(ConfigFetch, TakesADiskImageInUpperCase) {
    EXPECT_TRUE(fetchAnswered(R"({"userAction":[{"action":"install","isActive":"1"}],
                                  "software":[{"IsActive":"1","macUrl":"https://h/a.DMG"}]})")
                    .model);
}

TEST_F(ConfigFetch, ReportsARefusedConnectionAsADebugEntryAndDeliversTheError) {
    const loopback::RefusingPort port;
    configure(port.address("/c"));
    const Outcome outcome = fetch();
    EXPECT_FALSE(outcome.model);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code, TransportError::kCannotConnect);
    const QString address = QString::fromStdString(port.address("/c"));
    EXPECT_THAT(test::eventLogMessages(),
                ElementsAre(u"Error loading config: "_s + address +
                            u" Error: Error Domain=NSURLErrorDomain Code=-1004 \"Could not connect to the server.\" "
                            "UserInfo={NSErrorFailingURLStringKey="_s +
                            address + u", NSLocalizedDescription=Could not connect to the server.}"_s));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s));
    EXPECT_THAT(addresses.seen(), IsEmpty());
}

TEST_F(ConfigFetch, ReportsAConnectionThatBreaksOffAsATransportError) {
    auto reply = loopback::replyWith(kInstall);
    reply.cutAfter = 120;
    reply.ending = loopback::Ending::kClose;
    server.expect("GET /config.json", reply);
    const Outcome outcome = fetch();
    EXPECT_FALSE(outcome.model);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code, TransportError::kConnectionLost);
}

class UnusableAddress : public ConfigFetch, public testing::WithParamInterface<std::optional<QString>> {};

TEST_P(UnusableAddress, EndsAsAnUnsupportedAddressAndNeverAsACrash) {
    test::setSetting(u"PRODUCTION_URL"_s, GetParam() ? QVariant(*GetParam()) : QVariant());
    Outcome outcome;
    const QStringList console = test::consoleLinesOf([&] { outcome = fetch(); });
    EXPECT_FALSE(outcome.model);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code, TransportError::kUnsupportedAddress);
    EXPECT_TRUE(console.contains(u"URL: "_s + GetParam().value_or(u"(null)"_s)));
    ASSERT_EQ(test::eventLogMessages().size(), 1);
    EXPECT_TRUE(test::eventLogMessages()[0].startsWith(u"Error loading config: "_s));
    EXPECT_TRUE(test::eventLogMessages()[0].contains(u" Error: Error Domain=NSURLErrorDomain Code=-1002 "
                                                     "\"unsupported URL\""_s))
        << test::eventLogMessages()[0].toStdString();
}

INSTANTIATE_TEST_SUITE_P(Settings, UnusableAddress,
                         testing::Values(std::nullopt, u""_s, u"http://h/a b"_s, u"other://h/x"_s, u"word"_s));
