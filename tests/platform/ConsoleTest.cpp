#include "platform/Console.h"
#include "platform/QtMessages.h"
#include "tests/support/TestEnvironment.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

std::string errorOutputOf(const std::function<void()>& body) {
    testing::internal::CaptureStderr();
    body();
    return testing::internal::GetCapturedStderr();
}

// Standard error as a pipe, each write a packet of its own (pipe(2), O_DIRECT).
class PacketPipe {
public:
    PacketPipe() : saved_(::dup(STDERR_FILENO)) {
        EXPECT_EQ(::pipe2(ends_.data(), O_DIRECT | O_CLOEXEC), 0);
        ::dup2(ends_[1], STDERR_FILENO);
    }
    ~PacketPipe() {
        restore();
        ::close(ends_[1]);
    }
    PacketPipe(const PacketPipe&) = delete;
    PacketPipe& operator=(const PacketPipe&) = delete;

    void restore() {
        if (saved_ >= 0) {
            ::dup2(saved_, STDERR_FILENO);
            ::close(saved_);
            saved_ = -1;
        }
    }
    std::string nextPacket() {
        std::array<char, 4096> buffer{};
        const ssize_t count = ::read(ends_[0], buffer.data(), buffer.size());
        return {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
    }
    void closeReader() { ::close(ends_[0]); }

private:
    int saved_;
    std::array<int, 2> ends_{};
};

} // namespace

TEST(Console, WritesTimeProcessAndTextExactly) {
    const std::string line = errorOutputOf([] { platform::consoleLog(u"tëxt %@"_s); });
    const QRegularExpression shape(u"\\A\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} "
                                   "QNInstaller\\[%1\\] tëxt %@\\n\\z"_s.arg(::getpid()));
    EXPECT_TRUE(shape.match(QString::fromStdString(line)).hasMatch()) << line;
}

TEST(Console, UsesTheZoneThatHoldsNow) {
    test::setEnvironment("TZ", "XYZ-14");
    platform::consoleLog(u"first"_s);
    test::setEnvironment("TZ", "XYZ+10");
    const std::string line = errorOutputOf([] { platform::consoleLog(u"second"_s); });
    const std::time_t now = std::time(nullptr) - 10 * 3600;
    std::tm expected{};
    ::gmtime_r(&now, &expected);
    std::array<char, 32> hour{};
    std::strftime(hour.data(), hour.size(), "%Y-%m-%d %H:", &expected);
    // Within the same hour unless it just ended.
    if (expected.tm_min > 0 || expected.tm_sec > 5) {
        EXPECT_EQ(line.substr(0, 14), hour.data());
    }
}

TEST(Console, KeepsLineEndsInsideTheText) {
    const std::string text = errorOutputOf([] { platform::consoleLog(u"a\r\nb\n"_s); });
    EXPECT_TRUE(QString::fromStdString(text).endsWith(u"] a\r\nb\n\n"_s)) << text;
}

TEST(Console, WritesEachMessageInOneWrite) {
    PacketPipe pipe;
    platform::consoleLog(u"one\ntwo"_s);
    platform::consoleLog(u"three"_s);
    pipe.restore();
    EXPECT_TRUE(QString::fromStdString(pipe.nextPacket()).endsWith(u"] one\ntwo\n"_s));
    EXPECT_TRUE(QString::fromStdString(pipe.nextPacket()).endsWith(u"] three\n"_s));
}

TEST(Console, OutlivesAReaderThatHasGone) {
    PacketPipe pipe;
    pipe.closeReader();
    platform::consoleLog(u"nobody reads this"_s);
    pipe.restore();
    SUCCEED(); // the process still runs
}

TEST(Console, DropsWhatNobodyReadsAndTellsHowMuchItWas) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ASSERT_EQ(::fcntl(ends[1], F_SETPIPE_SZ, 8192), 8192);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(ends[1], STDERR_FILENO);
    const auto start = std::chrono::steady_clock::now();
    for (int message = 0; message < 1000; ++message) {
        platform::consoleLog(u"a message of some length, so that the pipe is full soon"_s);
    }
    const auto spent = std::chrono::steady_clock::now() - start;
    std::array<char, 8192> buffer{};
    ASSERT_GT(::read(ends[0], buffer.data(), buffer.size()), 0);
    const auto taken = static_cast<int>(std::count(buffer.begin(), buffer.end(), '\n'));
    platform::consoleLog(u"after it"_s);
    const ssize_t count = ::read(ends[0], buffer.data(), buffer.size());
    ::dup2(saved, STDERR_FILENO);
    EXPECT_LT(spent, std::chrono::seconds(5));
    const std::string rest(buffer.data(), static_cast<std::size_t>(count));
    EXPECT_NE(rest.find("] " + std::to_string(1000 - taken) + " messages were dropped here\n"), std::string::npos)
        << rest;
    EXPECT_TRUE(rest.ends_with("] after it\n")) << rest;
}

TEST(Console, TakesTheMessagesOfTheToolkit) {
    platform::captureQtMessages();
    const QStringList lines = test::consoleLinesOf([] { qWarning("a %s", "warning"); });
    EXPECT_EQ(lines, QStringList(u"Qt: a warning"_s));
}
