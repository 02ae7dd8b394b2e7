#include "platform/Folders.h"
#include "platform/base/MainQueue.h"
#include "tests/platform/TransferOutcome.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;

using loopback::Ending;
using loopback::LoopbackServer;
using loopback::replyWith;
using testing::ElementsAre;

namespace {

constexpr std::uint64_t kMebibyte = 1024 * 1024;

} // namespace

TEST(UrlSessionDownload, FinishesThenCompletesOnTheMainThread) {
    LoopbackServer server;
    server.expect("GET /p/Kit.dmg?k=v", replyWith("image"));
    const auto outcome = test::download(server.address("/p/Kit.dmg?k=v"));
    EXPECT_THAT(outcome.events, ElementsAre("progress 5 5 5", "finished", "complete 0"));
    EXPECT_TRUE(outcome.allOnMainThread);
    EXPECT_EQ(outcome.contents, QByteArray("image"));
    EXPECT_EQ(outcome.response.statusCode, 200);
    EXPECT_EQ(outcome.response.suggestedFilename, u"Kit.dmg"_s);
}

TEST(UrlSessionDownload, SendsAPlainGetWithoutHeadersOfItsOwn) {
    LoopbackServer server;
    server.expect("GET /a", replyWith(""));
    test::download(server.address("/a"));
    std::vector<std::string> names;
    const auto sent = server.requests().at(0);
    for (const auto& [name, value] : sent.headers) {
        names.push_back(name);
    }
    EXPECT_THAT(names, ElementsAre("Host", "User-Agent", "Accept", "Accept-Encoding"));
}

TEST(UrlSessionDownload, WritesToAPrivateFileInTheTemporaryFolder) {
    LoopbackServer server;
    server.expect("GET /a", replyWith("image"));
    QString folder;
    mode_t mode = 0;
    const auto outcome = test::download(server.address("/a"), {}, [&](const QString& file) {
        folder = QFileInfo(file).path();
        struct stat status {};
        EXPECT_EQ(stat(QFile::encodeName(file).constData(), &status), 0);
        mode = status.st_mode;
    });
    EXPECT_EQ(folder, platform::temporaryDirectory());
    EXPECT_EQ(mode, S_IFREG | 0600U);
    EXPECT_THAT(QFileInfo(outcome.temporaryFile).fileName().toStdString(),
                testing::MatchesRegex("CFNetworkDownload_[A-Za-z0-9]{6}\\.tmp"));
}

TEST(UrlSessionDownload, DeletesTheFileAfterTheCallbackUnlessItWasMoved) {
    LoopbackServer server;
    server.expect("GET /a", replyWith("left"));
    test::download(server.address("/a"));
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());

    server.expect("GET /a", replyWith("moved"));
    test::download(server.address("/a"), {},
                   [](const QString& file) { QFile::rename(file, QFileInfo(file).path() + u"/Kit.dmg"_s); });
    EXPECT_THAT(test::temporaryFiles(), ElementsAre(u"Kit.dmg"_s));
}

TEST(UrlSessionDownload, FinishesForEveryStatusAndForAnEmptyBody) {
    for (const int status : {200, 204, 206, 304, 404, 500}) {
        LoopbackServer server;
        server.expect("GET /a", loopback::replyWithStatus(status));
        const auto outcome = test::download(server.address("/a"));
        EXPECT_THAT(outcome.events, ElementsAre("finished", "complete 0")) << status;
        EXPECT_EQ(outcome.response.statusCode, status);
        EXPECT_EQ(outcome.contents.size(), 0) << status;
    }
}

TEST(UrlSessionDownload, OnlyCompletesWhenItFails) {
    const loopback::RefusingPort port;
    const auto outcome = test::download(port.address("/a"));
    EXPECT_THAT(outcome.events, ElementsAre("complete -1004"));
    EXPECT_TRUE(outcome.allOnMainThread);
}

TEST(UrlSessionDownload, ReportsAnUnusableAddressAfterReturning) {
    const auto outcome = test::download("no address");
    EXPECT_THAT(outcome.events, ElementsAre("complete -1002"));
    EXPECT_TRUE(outcome.allOnMainThread);
}

TEST(UrlSessionDownload, DeletesThePartialFileWhenTheConnectionIsLost) {
    LoopbackServer server;
    server.expect("GET /a", {.generated = 4 * kMebibyte, .cutAfter = 2 * kMebibyte, .ending = Ending::kClose});
    const auto outcome = test::download(server.address("/a"));
    EXPECT_THAT(outcome.endings(), ElementsAre("complete -1005"));
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());
}

TEST(UrlSessionDownload, WritesEveryByteOfALargeBody) {
    LoopbackServer server;
    server.expect("GET /a", {.generated = 20 * kMebibyte});
    const auto outcome = test::download(server.address("/a"));
    EXPECT_EQ(outcome.contents.toStdString(), loopback::generatedBytes(0, 20 * kMebibyte));
}

TEST(UrlSessionDownload, AddsProgressUpWithoutLosingAByte) {
    LoopbackServer server;
    server.expect("GET /a", {.generated = 5 * kMebibyte});
    const auto outcome = test::download(server.address("/a"));
    long long sum = 0;
    for (const auto& event : outcome.events) {
        long long chunk = 0;
        long long total = 0;
        long long expected = 0;
        // NOLINTNEXTLINE(cert-err34-c): the text is our own
        if (std::sscanf(event.c_str(), "progress %lld %lld %lld", &chunk, &total, &expected) == 3) {
            sum += chunk;
            EXPECT_EQ(total, sum);
            EXPECT_EQ(expected, 5 * 1024 * 1024);
        }
    }
    EXPECT_EQ(sum, 5 * 1024 * 1024);
}

TEST(UrlSessionDownload, KeepsAtMostOneProgressCallWaiting) {
    LoopbackServer server;
    server.expect("GET /a", {.generated = 8 * kMebibyte});
    std::vector<std::int64_t> chunks;
    bool finished = false;
    UrlSession::DownloadCallbacks callbacks;
    callbacks.didWriteData = [&](std::int64_t chunk, std::int64_t, std::int64_t) { chunks.push_back(chunk); };
    callbacks.didFinishDownloading = [&](const UrlResponse&, const QString&) { finished = true; };
    // The main thread does not turn its loop until everything has arrived.
    UrlSession::downloadTask(Address::parse(QString::fromStdString(server.address("/a"))), callbacks);
    const auto allIsThere = [] {
        const auto files = test::temporaryFiles();
        return files.size() == 1 && QFileInfo(*platform::temporaryDirectory() + u'/' + files[0]).size() ==
                                        static_cast<qint64>(8 * kMebibyte);
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!allIsThere() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    ASSERT_TRUE(test::waitFor([&] { return finished; }));
    // The last block may have been counted after the main thread had begun to look.
    EXPECT_THAT(chunks.size(), testing::Le(2U));
    std::int64_t sum = 0;
    for (const auto chunk : chunks) {
        sum += chunk;
    }
    EXPECT_EQ(sum, static_cast<std::int64_t>(8 * kMebibyte));
}

TEST(UrlSessionDownload, DoesNotKnowTheLengthOfAnEncodedOrUnboundedBody) {
    LoopbackServer server;
    server.expect("GET /a", {.body = "abc", .contentLength = "", .ending = Ending::kClose});
    EXPECT_EQ(test::download(server.address("/a")).events.at(0), "progress 3 3 -1");
}

TEST(UrlSessionDownload, CompletesOnlyAfterTheFinishedCallbackHasReturned) {
    LoopbackServer server;
    server.expect("GET /a", replyWith("image"));
    bool returned = false;
    bool completedInside = false;
    UrlSession::DownloadCallbacks callbacks;
    bool complete = false;
    callbacks.didFinishDownloading = [&](const UrlResponse&, const QString&) {
        // A nested loop must not deliver the completion.
        test::waitFor([] { return false; }, std::chrono::milliseconds(200));
        completedInside = complete;
        returned = true;
    };
    callbacks.didComplete = [&](const std::optional<TransportError>&) {
        EXPECT_TRUE(returned);
        complete = true;
    };
    UrlSession::downloadTask(Address::parse(QString::fromStdString(server.address("/a"))), callbacks);
    ASSERT_TRUE(test::waitFor([&] { return complete; }));
    EXPECT_FALSE(completedInside);
}

TEST(UrlSessionDownload, FailsWithoutAPrivateTemporaryFolder) {
    test::setEnvironment("TMPDIR", "/no/such/folder");
    const auto outcome = test::download("http://127.0.0.1:1/a");
    EXPECT_THAT(outcome.events, ElementsAre("complete -3000"));
    EXPECT_EQ(outcome.error->text(),
              u"Error Domain=NSURLErrorDomain Code=-3000 \"The file for the download could not be "
              "created.\" UserInfo={NSErrorFailingURLStringKey=http://127.0.0.1:1/a, "
              "NSLocalizedDescription=The file for the download could not be created.}"_s);
}

TEST(UrlSessionDownload, FailsWhenTheFileCannotBeWritten) {
    // As a full disk does, but for this process only.
    const rlimit small{kMebibyte, kMebibyte};
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    LoopbackServer server;
    server.expect("GET /a", {.generated = 2 * kMebibyte});
    const auto outcome = test::download(server.address("/a"));
    EXPECT_THAT(outcome.endings(), ElementsAre("complete -3003"));
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());
}

TEST(UrlSessionDownload, LeavesNoPartialFileWhenTheProcessEnds) {
    LoopbackServer server;
    server.expect("GET /a", {.generated = 4 * kMebibyte, .cutAfter = 2 * kMebibyte, .ending = Ending::kStall});
    std::int64_t arrived = 0;
    bool complete = false;
    UrlSession::DownloadCallbacks callbacks;
    callbacks.didWriteData = [&](std::int64_t, std::int64_t total, std::int64_t) { arrived = total; };
    callbacks.didComplete = [&](const std::optional<TransportError>&) { complete = true; };
    UrlSession::downloadTask(Address::parse(QString::fromStdString(server.address("/a"))), callbacks,
                             test::shortIdle());
    ASSERT_TRUE(test::waitFor([&] { return arrived >= static_cast<std::int64_t>(kMebibyte); }));
    EXPECT_EQ(test::temporaryFiles().size(), 1);
    UrlSession::removePartialDownloads();
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());
    EXPECT_FALSE(complete);
    EXPECT_TRUE(test::waitFor([&] { return complete; }));
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());
}

TEST(UrlSessionDownload, DeletesWhatAKilledProcessLeftAndNothingElse) {
    const QString folder = *platform::temporaryDirectory();
    const QString abandoned = folder + u"/CFNetworkDownload_a1B2c3.tmp"_s;
    const QStringList kept{folder + u"/Kit.dmg"_s, folder + u"/unmount.sh"_s, folder + u"/CFNetworkDownload_a1.tmp"_s,
                           folder + u"/CFNetworkDownload_a1B2c3.tmp.dmg"_s};
    for (const QString& path : kept + QStringList{abandoned}) {
        test::writeFile(path, "left");
    }
    UrlSession::removeAbandonedDownloads();
    EXPECT_FALSE(QFile::exists(abandoned));
    for (const QString& path : kept) {
        EXPECT_TRUE(QFile::exists(path)) << path.toStdString();
    }
}

TEST(UrlSessionDownload, KeepsTheFileThatAnotherDownloadStillWrites) {
    LoopbackServer server;
    server.expect("GET /a", {.generated = kMebibyte, .cutAfter = 5000, .ending = Ending::kStall});
    bool started = false;
    UrlSession::DownloadCallbacks callbacks;
    callbacks.didWriteData = [&](std::int64_t, std::int64_t, std::int64_t) { started = true; };
    UrlSession::downloadTask(Address::parse(QString::fromStdString(server.address("/a"))), callbacks);
    ASSERT_TRUE(test::waitFor([&] { return started; }));
    UrlSession::removeAbandonedDownloads();
    const QStringList files = QDir(*platform::temporaryDirectory()).entryList(QDir::Files);
    EXPECT_EQ(files.size(), 1);
    UrlSession::removePartialDownloads();
}

TEST(UrlSessionDownload, LooksForAbandonedFilesWithoutMakingTheFolder) {
    UrlSession::removeAbandonedDownloads();
    EXPECT_FALSE(platform::existingTemporaryDirectory());
}

TEST(UrlSessionDownload, BeginsNoFileOnceTheProcessEnds) {
    UrlSession::removePartialDownloads();
    EXPECT_THAT(test::download("http://127.0.0.1:1/a").events, ElementsAre("complete -3000"));
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());
}

TEST(UrlSessionDownload, RunsSeveralAtOnce) {
    LoopbackServer server;
    server.serve("GET /a", {.generated = kMebibyte});
    int complete = 0;
    int right = 0;
    UrlSession::DownloadCallbacks callbacks;
    callbacks.didFinishDownloading = [&](const UrlResponse&, const QString& file) {
        right += QFileInfo(file).size() == static_cast<qint64>(kMebibyte) ? 1 : 0;
    };
    callbacks.didComplete = [&](const std::optional<TransportError>&) { ++complete; };
    for (int i = 0; i < 8; ++i) {
        UrlSession::downloadTask(Address::parse(QString::fromStdString(server.address("/a"))), callbacks);
    }
    ASSERT_TRUE(test::waitFor([&] { return complete == 8; }));
    EXPECT_EQ(right, 8);
    EXPECT_THAT(test::temporaryFiles(), testing::IsEmpty());
}
