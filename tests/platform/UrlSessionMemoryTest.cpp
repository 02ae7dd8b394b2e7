#include "platform/UrlSession.h"
#include "tests/support/LoopbackProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>

using namespace Qt::StringLiterals;

// AddressSanitizer keeps freed memory for a while, which is not what is measured here. It reads this name.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=1";
}

namespace {

constexpr std::int64_t kMebibyte = 1024 * 1024;

// Two gibibytes take minutes on a slow disk, so the temporary folder moves to memory where there is room. What lies
// there is not part of this process's memory.
class RoomyFolder {
public:
    RoomyFolder() {
        std::string pattern = "/dev/shm/transfer-XXXXXX";
        struct statvfs status {};
        const bool hasRoom = statvfs("/dev/shm", &status) == 0 &&
                             static_cast<std::int64_t>(status.f_bavail * status.f_bsize) > 3072 * kMebibyte;
        if (!hasRoom || !mkdtemp(pattern.data())) {
            return;
        }
        path_ = pattern;
        test::setEnvironment("TMPDIR", QByteArray::fromStdString(path_));
    }
    ~RoomyFolder() {
        if (!path_.empty()) {
            std::filesystem::remove_all(path_);
        }
    }
    RoomyFolder(const RoomyFolder&) = delete;
    RoomyFolder& operator=(const RoomyFolder&) = delete;

private:
    std::string path_;
};

// The largest resident size that this process has had, in bytes.
std::int64_t peakMemory() {
    for (const QByteArray& line : test::readFile(u"/proc/self/status"_s).split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.simplified().split(' ').at(1).toLongLong() * 1024;
        }
    }
    return -1;
}

// Turns the event loop until the download is complete; the size of the file that it brought.
std::int64_t download(const std::string& address) {
    std::int64_t size = -1;
    bool complete = false;
    UrlSession::DownloadCallbacks callbacks;
    callbacks.didFinishDownloading = [&](const UrlResponse&, const QString& file) { size = QFileInfo(file).size(); };
    callbacks.didComplete = [&](const std::optional<TransportError>&) { complete = true; };
    UrlSession::downloadTask(Address::parse(QString::fromStdString(address)), callbacks);
    EXPECT_TRUE(test::waitFor([&] { return complete; }, std::chrono::seconds(100)));
    return size;
}

} // namespace

TEST(UrlSessionMemory, DoesNotGrowWithTheSizeOfADownload) {
    const RoomyFolder folder;
    const loopback::LoopbackProcess empty(loopback::Reply{});
    const loopback::LoopbackProcess large({.generated = 2048 * kMebibyte});
    EXPECT_EQ(download(empty.address()), 0);
    const std::int64_t before = peakMemory();
    EXPECT_EQ(download(large.address()), 2048 * kMebibyte);
    const std::int64_t growth = peakMemory() - before;
    RecordProperty("growth", std::to_string(growth));
    EXPECT_GT(before, 0);
    EXPECT_LE(growth, 40 * kMebibyte);
}

TEST(UrlSessionMemory, DoesNotGrowWithTheSizeOfAFile) {
    const RoomyFolder folder;
    const QString path = test::folder() + u"/sparse.dmg"_s;
    test::writeFile(path, "");
    ASSERT_EQ(truncate(path.toUtf8().constData(), 2048 * kMebibyte), 0);
    test::writeFile(test::folder() + u"/empty.dmg"_s, "");
    EXPECT_EQ(download("file://" + (test::folder() + u"/empty.dmg"_s).toStdString()), 0);
    const std::int64_t before = peakMemory();
    EXPECT_EQ(download("file://" + path.toStdString()), 2048 * kMebibyte);
    EXPECT_LE(peakMemory() - before, 40 * kMebibyte);
}
