#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/install/ControllerTest.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"
#include "ui/QNErrorController.h"
#include "ui/View.h"

#include <sys/resource.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

const QString kUrl = u"http://127.0.0.1:1/Kit.dmg"_s;
const TransportError kRefused{TransportError::kCannotConnect, kUrl};
const QString kRefusedText =
    u"Error Domain=NSURLErrorDomain Code=-1004 \"Could not connect to the server.\" UserInfo={"
    "NSErrorFailingURLStringKey=http://127.0.0.1:1/Kit.dmg, NSLocalizedDescription=Could not connect to the server.}"_s;

QVariantMap failedDownload(const QString& url, const QString& reason) {
    return {{u"EVT"_s, u"Download"_s}, {u"RSLT"_s, u"FAIL"_s}, {u"URL"_s, url}, {u"RSN"_s, reason}};
}

// While it lives, this process gets no memory for another thread's stack. The limit is soft: a leak checker needs some
// at the end.
class NoMoreMemory {
public:
    NoMoreMemory() {
        long pages = 0;
        if (std::FILE* const statistics = std::fopen("/proc/self/statm", "re")) {
            if (std::fscanf(statistics, "%ld", &pages) != 1) {
                pages = 0;
            }
            std::fclose(statistics);
        }
        EXPECT_EQ(::getrlimit(RLIMIT_AS, &usual_), 0);
        const rlimit limit{static_cast<rlim_t>(pages) * 4096 + 1024 * 1024, usual_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~NoMoreMemory() { EXPECT_EQ(::setrlimit(RLIMIT_AS, &usual_), 0); }
    NoMoreMemory(const NoMoreMemory&) = delete;
    NoMoreMemory& operator=(const NoMoreMemory&) = delete;

private:
    rlimit usual_{};
};

} // namespace

class Download : public ControllerTest {
protected:
    Download() { controller().setConfig(installConfig()); }
};

TEST_F(Download, IgnoresEachChunk) {
    controller().URLSessionDownloadTaskDidWriteData(1, 2, 3);
    EXPECT_TRUE(messages().isEmpty());
    EXPECT_EQ(controller().progressPercents(), 0.0);
}

TEST_F(Download, EndsOnTheNoInternetScreenWhenThereIsNoConnectionWhateverTheError) {
    for (const std::optional<TransportError>& error : {std::optional(kRefused), std::optional<TransportError>()}) {
        const qsizetype before = messages().size();
        controller().setViewHidden(true);
        controller().URLSessionTaskDidCompleteWithError(error);
        EXPECT_EQ(messages().mid(before), (QStringList{u"Show NoInternet screen"_s, u"event Download"_s}));
        EXPECT_EQ(events().last(), failedDownload(kUrl, u"No internet connection"_s));
        EXPECT_FALSE(controller().isViewHidden());
        EXPECT_FALSE(controller().errorView()->isHidden());
    }
}

TEST_F(Download, EndsOnTheErrorScreenWhenThereIsAConnectionAndAnError) {
    goOnline();
    controller().setViewHidden(true);
    const QStringList console =
        test::consoleLinesOf([this] { controller().URLSessionTaskDidCompleteWithError(kRefused); });
    EXPECT_EQ(messages(), (QStringList{u"Download failed: "_s + kUrl + u" (error = "_s + kRefusedText + u")"_s,
                                       u"Show generic error screen."_s, u"event Download"_s}));
    EXPECT_EQ(events().last(), failedDownload(kUrl, kRefusedText));
    EXPECT_EQ(console.last(), u"Error: "_s + kRefusedText);
    EXPECT_FALSE(controller().isViewHidden());
}

TEST_F(Download, ChangesNothingWhenThereIsAConnectionAndNoError) {
    goOnline();
    controller().setViewHidden(true);
    controller().URLSessionTaskDidCompleteWithError(std::nullopt);
    EXPECT_TRUE(messages().isEmpty());
    EXPECT_TRUE(controller().isViewHidden());
}

TEST_F(Download, FromAnUnusableAddressFailsAsATransportError) {
    goOnline();
    controller().setConfig(installConfig({{u"macUrl"_s, u"http://host/a b.dmg"_s}}));
    controller().beginInstallation();
    ASSERT_TRUE(test::waitFor([this] { return !events().isEmpty(); }));
    const QString text =
        u"Error Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" UserInfo={NSLocalizedDescription=unsupported "
        "URL}"_s;
    EXPECT_EQ(messages(), (QStringList{u"Download started: http://host/a b.dmg"_s,
                                       u"Download failed: http://host/a b.dmg (error = "_s + text + u")"_s,
                                       u"Show generic error screen."_s, u"event Download"_s}));
    EXPECT_EQ(events().last(), failedDownload(u"http://host/a b.dmg"_s, text));
}

TEST_F(Download, HandsTheFinishedFileOnBeforeItCompletes) {
    loopback::LoopbackServer server;
    const QString url = QString::fromStdString(server.address("/Kit.dmg"));
    server.expect("GET /Kit.dmg", loopback::replyWithStatus(500, "broken"));
    controller().setConfig(installConfig({{u"macUrl"_s, url}}));
    controller().beginInstallation();
    ASSERT_TRUE(test::waitFor([this] { return events().size() == 2; }));
    EXPECT_EQ(messages(),
              (QStringList{u"Download started: "_s + url,
                           u"Download failed: "_s + url + u" (error = HTTP Response with status code 500)"_s,
                           u"Show generic error screen."_s, u"event Download"_s, u"Show NoInternet screen"_s,
                           u"event Download"_s}));
    EXPECT_EQ(events().last(), failedDownload(url, u"No internet connection"_s));
}

TEST_F(Download, ThatCannotBeStartedSendsItsEventBeforeTheScreen) {
    goOnline();
    controller().setViewHidden(true);
    const QStringList console = test::consoleLinesOf([this] {
        const NoMoreMemory limited;
        controller().beginInstallation();
    });
    const QStringList log = messages();
    ASSERT_EQ(log.size(), 4) << log.join(u'\n').toStdString();
    EXPECT_EQ(log[0], u"Download started: "_s + kUrl);
    const QString start = u"Download failed: "_s + kUrl + u" (error = "_s;
    ASSERT_TRUE(log[1].startsWith(start)) << log[1].toStdString();
    EXPECT_EQ(log.mid(2), (QStringList{u"event Download"_s, u"Show generic error screen."_s}));
    EXPECT_EQ(events().last(), failedDownload(kUrl, log[1]));
    EXPECT_TRUE(console.contains(u"Exception "_s + log[1].mid(start.size()).chopped(1)))
        << console.join(u'\n').toStdString();
    EXPECT_FALSE(controller().isViewHidden());
}
