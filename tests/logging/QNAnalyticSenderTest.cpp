#include "logging/QNAnalyticSender.h"
#include "platform/base/MainQueue.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/PlatformException.h"
#include "sysinfo/QNPortalProvider.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

using namespace Qt::StringLiterals;
using loopback::LoopbackServer;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Analytics : public testing::Test {
protected:
    Analytics() {
        test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
        test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"14.2.1\"\n");
        test::setEnvironment("LANG", "de_AT.UTF-8");
        test::setSetting(u"AnalyticsProductName"_s, u"SampleProduct"_s);
        test::setInfo(u"CFBundleShortVersionString"_s, u"2.3.4"_s);
    }
};

const QVariantMap kDefaults{{u"Ver"_s, u"2.3.4"_s}, {u"APP"_s, u"SampleProduct"_s},
                            {u"OS"_s, u"OS X"_s},   {u"OSVer"_s, u"14.2.1"_s},
                            {u"CC"_s, u"AT"_s},     {u"L"_s, u"de-AT"_s}};

QVariantMap with(QVariantMap dictionary, const QVariantMap& more) {
    dictionary.insert(more);
    return dictionary;
}

// The object behind the two tokens.
QVariantMap objectOf(const QString& line) {
    return QJsonDocument::fromJson(line.section(u' ', 2).toUtf8()).object().toVariantMap();
}

// Name and reason of what building a line raises.
QString raisedByDefaultData() {
    try {
        QNAnalyticSender::defaultData();
        return u"nothing"_s;
    } catch (const PlatformException& exception) {
        return exception.name() + u": "_s + exception.reason();
    }
}

std::optional<Address> addressOf(const std::string& text) {
    return Address::parse(QString::fromStdString(text));
}

QStringList levels() {
    QStringList words;
    for (const QString& line : test::eventLog()) {
        words += line.section(u"\"trace\": \""_s, 1).section(u'"', 0, 0);
    }
    return words;
}

} // namespace

TEST_F(Analytics, DefaultDataHasSixEntries) {
    EXPECT_EQ(QNAnalyticSender::defaultData(), kDefaults);
}

TEST_F(Analytics, DefaultDataIsMadeAfreshEachTime) {
    QNAnalyticSender::defaultData();
    test::setEnvironment("LANG", "fr_FR.UTF-8");
    EXPECT_EQ(QNAnalyticSender::defaultData()[u"L"_s], QVariant(u"fr-FR"_s));
}

TEST_F(Analytics, DefaultDataRaisesWithoutAVersion) {
    test::setInfo(u"CFBundleShortVersionString"_s, QVariant());
    EXPECT_EQ(raisedByDefaultData(), u"NSInvalidArgumentException: *** -[__NSPlaceholderDictionary "
                                     "initWithObjects:forKeys:count:]: attempt to insert nil object from objects[0]"_s);
}

TEST_F(Analytics, AnEventRaisesWithoutAProductNameAndLeavesNoTrace) {
    test::setSetting(u"AnalyticsProductName"_s, QVariant());
    EXPECT_EQ(raisedByDefaultData(), u"NSInvalidArgumentException: *** -[__NSPlaceholderDictionary "
                                     "initWithObjects:forKeys:count:]: attempt to insert nil object from objects[1]"_s);
    EXPECT_THROW(QNAnalyticSender::sendEvent(u"Start"_s), PlatformException);
    EXPECT_THAT(test::eventLog(), IsEmpty());
}

TEST_F(Analytics, ALineIsTimeIdentifierAndCompactObject) {
    const QString line = QNAnalyticSender::getMessage(u"End"_s, {});
    const QRegularExpression layout(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ ci=(\\S{36}) "
                                    "\\{\"APP\":\"SampleProduct\",\"CC\":\"AT\",\"EVT\":\"End\",\"L\":\"de-AT\","
                                    "\"OS\":\"OS X\",\"OSVer\":\"14\\.2\\.1\",\"Ver\":\"2\\.3\\.4\"\\}$"_s);
    const auto match = layout.match(line);
    EXPECT_TRUE(match.hasMatch()) << line.toStdString();
    EXPECT_EQ(match.captured(1), QNPortalProvider::getCi());
}

TEST_F(Analytics, ALineHasTheTimeOfTheZoneThatHoldsNow) {
    test::setEnvironment("TZ", "<xyz>-1");
    EXPECT_TRUE(QNAnalyticSender::getMessage(u"End"_s, {}).section(u' ', 0, 0).endsWith(u"+01:00"_s));
}

TEST_F(Analytics, AnEventHoldsDefaultsDataAndName) {
    const QString line = QNAnalyticSender::getMessage(u"Config"_s, {{u"RSLT"_s, u"PASS"_s}, {u"T"_s, 1.5}});
    EXPECT_EQ(objectOf(line), with(kDefaults, {{u"RSLT"_s, u"PASS"_s}, {u"T"_s, 1.5}, {u"EVT"_s, u"Config"_s}}));
}

TEST_F(Analytics, DataReplacesDefaultsButNeverTheName) {
    const QString line = QNAnalyticSender::getMessage(u"Config"_s, {{u"OS"_s, u"Other"_s}, {u"EVT"_s, u"Mine"_s}});
    EXPECT_EQ(objectOf(line), with(kDefaults, {{u"OS"_s, u"Other"_s}, {u"EVT"_s, u"Config"_s}}));
}

TEST_F(Analytics, AnAbsentValueInTheDataLeavesItsKeyOut) {
    const QString line = QNAnalyticSender::getMessage(u"Download"_s, {{u"DProd"_s, QVariant()}, {u"OS"_s, QVariant()}});
    EXPECT_EQ(objectOf(line), with(kDefaults, {{u"EVT"_s, u"Download"_s}}));
}

TEST_F(Analytics, ATimeInSinglePrecisionIsWidened) {
    EXPECT_TRUE(QNAnalyticSender::getMessage(u"Config"_s, {{u"T"_s, 0.45F}}).contains(u"\"T\":0.44999998807907104,"_s));
}

TEST_F(Analytics, AnEventWithAValueThatHasNoFormIsAnEmptyObject) {
    QNPortalProvider::getCi();
    EXPECT_TRUE(QNAnalyticSender::getMessage(u"Config"_s, {{u"T"_s, std::numeric_limits<float>::infinity()}})
                    .endsWith(u" {}"_s));
}

TEST_F(Analytics, SendingAnEventPostsItsLineOnThisThreadAndThenLogsIt) {
    QStringList posted;
    qsizetype loggedBefore = -1;
    NotificationCenter::defaultCenter().addObserver(kLogAnalytics, [&](const Notification& notification) {
        posted += std::get<QString>(notification.object);
        loggedBefore = test::eventLog().size();
        EXPECT_TRUE(MainQueue::isMainThread());
    });
    QNAnalyticSender::sendEvent(u"Config"_s, {{u"RSLT"_s, u"PASS"_s}});
    ASSERT_EQ(posted.size(), 1);
    EXPECT_EQ(loggedBefore, 0);
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(posted[0].section(u' ', 2)));
    EXPECT_THAT(levels(), ElementsAre(u"EVT"_s));
    const QString line = test::eventLog()[0];
    EXPECT_TRUE(line.startsWith(u"{ \"time\": \""_s + posted[0].section(u' ', 0, 0) + u"\",\"ci\": \""_s +
                                *QNPortalProvider::getCi() + u"\", "_s));
    EXPECT_TRUE(line.contains(u"\"file\": \"QNAnalyticSender.cpp\", "
                              "\"fn\": \"+[QNAnalyticSender sendEvent:withData:]\", \"line\": \""_s));
}

TEST_F(Analytics, AnEventWithoutDataHoldsDefaultsAndName) {
    QNAnalyticSender::sendEvent(u"Start"_s);
    EXPECT_EQ(QJsonDocument::fromJson(test::eventLogMessages().at(0).toUtf8()).object().toVariantMap(),
              with(kDefaults, {{u"EVT"_s, u"Start"_s}}));
}

TEST_F(Analytics, AllLinesGoInOnePostJoinedByLineEnds) {
    LoopbackServer server;
    server.expect("POST /collect", loopback::replyWith("thanks"));
    const QStringList console = test::consoleLinesOf([&] {
        QNAnalyticSender::sendAll({u"line 1"_s, u"lïne 2"_s, u"line 3"_s}, addressOf(server.address("/collect")));
    });
    const auto request = server.requests().at(0);
    EXPECT_EQ(request.body, "line 1\r\nl\xC3\xAFne 2\r\nline 3");
    EXPECT_EQ(request.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(request.header("Expect"), std::nullopt);
    EXPECT_THAT(console, ElementsAre(u"ANALYTICS: line 1\r"_s, u"lïne 2\r"_s, u"line 3"_s));
    EXPECT_THAT(test::eventLog(), IsEmpty());
}

TEST_F(Analytics, AnEmptyQueueIsSentAsAnEmptyBody) {
    LoopbackServer server;
    server.expect("POST /collect", loopback::replyWithStatus(204));
    QNAnalyticSender::sendAll({}, addressOf(server.address("/collect")));
    EXPECT_EQ(server.requests().at(0).body, "");
}

TEST_F(Analytics, NothingIsSentWhenSendingIsSwitchedOff) {
    LoopbackServer server;
    QNAnalyticSender::setIsSend(false);
    EXPECT_THAT(
        test::consoleLinesOf([&] { QNAnalyticSender::sendAll({u"line"_s}, addressOf(server.address("/collect"))); }),
        IsEmpty());
    EXPECT_EQ(server.connections(), 0U);
    QNAnalyticSender::setIsSend(true);
    server.expect("POST /collect", loopback::replyWith("x"));
    QNAnalyticSender::sendAll({u"line"_s}, addressOf(server.address("/collect")));
}

TEST_F(Analytics, AnErrorStatusCountsAsSent) {
    LoopbackServer server;
    server.expect("POST /collect", loopback::replyWithStatus(500, "broken"));
    server.expect("POST /collect", loopback::replyWithStatus(404));
    QNAnalyticSender::send(u"line"_s, addressOf(server.address("/collect")));
    QNAnalyticSender::send(u"line"_s, addressOf(server.address("/collect")));
    EXPECT_THAT(test::eventLog(), IsEmpty());
}

TEST_F(Analytics, ARefusedConnectionIsToldTwiceAndTheLinesAreLost) {
    const loopback::RefusingPort port;
    QNPortalProvider::getCi();
    QNAnalyticSender::defaultData();
    const QStringList console =
        test::consoleLinesOf([&] { QNAnalyticSender::send(u"line"_s, addressOf(port.address("/c"))); });
    const QString error = u"Error Domain=NSURLErrorDomain Code=-1004 \"Could not connect to the server.\" "
                          "UserInfo={NSErrorFailingURLStringKey="_s +
                          QString::fromStdString(port.address("/c")) +
                          u", NSLocalizedDescription=Could not connect to the server.}"_s;
    EXPECT_THAT(console, ElementsAre(error, u"ANALYTICS: line"_s));
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"Analytics send error "_s + error));
    EXPECT_THAT(levels(), ElementsAre(u"ERROR"_s));
    EXPECT_TRUE(test::eventLog()[0].contains(u"\"fn\": \"+[QNAnalyticSender send:url:]\""_s));
}

TEST_F(Analytics, AnUnusableAddressEndsAsAnErrorAndNotAsACrash) {
    QNPortalProvider::getCi();
    QNAnalyticSender::defaultData();
    const QStringList console = test::consoleLinesOf([&] { QNAnalyticSender::send(u"line"_s, std::nullopt); });
    const QString error = u"Error Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" "
                          "UserInfo={NSLocalizedDescription=unsupported URL}"_s;
    EXPECT_THAT(console, ElementsAre(error, u"ANALYTICS: line"_s));
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"Analytics send error "_s + error));
}

TEST_F(Analytics, SendingWaitsForTheAnswer) {
    LoopbackServer server;
    auto reply = loopback::replyWith("thanks");
    reply.pause = std::chrono::milliseconds(50);
    server.expect("POST /collect", reply);
    const auto before = std::chrono::steady_clock::now();
    QNAnalyticSender::send(u"line"_s, addressOf(server.address("/collect")));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300)); // six bytes
}

namespace {

// The soft limit only, so that it can be lifted again: a leak checker needs a thread at the end, and to trace us.
void setThreadLimit(rlim_t threads) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NPROC, &limit), 0);
    limit.rlim_cur = std::min(threads, limit.rlim_max);
    ASSERT_EQ(setrlimit(RLIMIT_NPROC, &limit), 0);
    ASSERT_EQ(prctl(PR_SET_DUMPABLE, 1), 0);
}

// From here on this process can start no thread. The limit does not hold for the superuser.
void forbidNewThreads() {
    if (geteuid() == 0) {
        constexpr uid_t kNobody = 65534;
        namespace fs = std::filesystem;
        const fs::path folder = test::folder().toStdString();
        ASSERT_EQ(chown(folder.c_str(), kNobody, kNobody), 0);
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            ASSERT_EQ(lchown(entry.path().c_str(), kNobody, kNobody), 0);
        }
        ASSERT_EQ(setresuid(kNobody, kNobody, kNobody), 0);
    }
    setThreadLimit(1);
}

} // namespace

TEST_F(Analytics, ARequestThatCannotBeStartedIsToldAndNotWaitedFor) {
    LoopbackServer server; // its thread exists already
    QNPortalProvider::getCi();
    QNAnalyticSender::defaultData();
    forbidNewThreads();
    const QStringList console =
        test::consoleLinesOf([&] { QNAnalyticSender::send(u"line"_s, addressOf(server.address("/collect"))); });
    setThreadLimit(RLIM_INFINITY);
    ASSERT_EQ(console.size(), 1) << console.join(u'\n').toStdString(); // and no "ANALYTICS:"
    EXPECT_TRUE(console[0].startsWith(u"Analytics send error "_s)) << console[0].toStdString();
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(console[0]));
    EXPECT_THAT(levels(), ElementsAre(u"ERROR"_s));
}
