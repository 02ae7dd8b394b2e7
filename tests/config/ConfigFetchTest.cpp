#include "sysinfo/QNPortalProvider.h"
#include "tests/config/ConfigFetchFixture.h"

#include <QCoreApplication>

#include <chrono>
#include <thread>

using namespace Qt::StringLiterals;
using loopback::LoopbackServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

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
            if (header.first == name) {
                ours.push_back(header);
            }
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
    while (addresses.seen().isEmpty() && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_EQ(calls, 0); // the answer has been worked on, but this thread's queue has not run
    EXPECT_THAT(addresses.seen(), ElementsAre(u"https://h/collect"_s));
    EXPECT_TRUE(test::waitFor([&] { return calls == 1; }));
}

TEST_F(ConfigFetch, PostsTheAnalyticsAddressOnTheRequestsThreadBeforeTheCallback) {
    QStringList order; // written by the request's thread, then by this one
    bool called = false;
    NotificationCenter::defaultCenter().addObserver(kChangeAnalyticsUrl,
                                                    [&](const Notification&) { order += u"post"_s; });
    server.expect("GET /config.json", loopback::replyWith(kInstall));
    QNConfigProvider::loadConfigWithCompletion([&](const auto&, const auto&) {
        order += u"callback"_s;
        called = true;
    });
    EXPECT_TRUE(test::waitFor([&] { return called; }));
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

TEST_F(ConfigFetch, TakesADiskImageInUpperCase) {
    EXPECT_TRUE(fetchAnswered(R"({"userAction":[{"action":"install","isActive":"1"}],
                                  "software":[{"IsActive":"1","macUrl":"https://h/a.DMG"}]})")
                    .model);
}
