#include "sysinfo/QNTask.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <semaphore>
#include <thread>

using namespace Qt::StringLiterals;

TEST(QNTask, ReturnsWhatTheProgramPrinted) {
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/echo"_s, {u"two words"_s, u"$HOME"_s}), u"two words $HOME\n"_s);
}

TEST(QNTask, RunsAProgramWithoutArguments) {
    test::putSystemTool(u"/bin/count"_s, "#!/bin/sh\necho $#\n");
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/count"_s), u"0\n"_s);
}

TEST(QNTask, ReturnsNothingForAProgramThatPrintsNothing) {
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/true"_s), std::nullopt);
    EXPECT_TRUE(test::eventLog().isEmpty());
}

TEST(QNTask, DoesNotLookAtTheExitStatus) {
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, u"echo failed; exit 3"_s}), u"failed\n"_s);
}

TEST(QNTask, EndsTheTextAtTheFirstZeroByte) {
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, u"printf 'ab\\0cd'"_s}), u"ab"_s);
}

TEST(QNTask, KeepsAnEmptyTextApartFromNoOutput) {
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, u"printf '\\0cd'"_s}), u""_s);
}

TEST(QNTask, ReadsBytesThatAreNoUtf8AsLatin) {
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, u"printf '\\243 5'"_s}), u"£ 5"_s);
}

TEST(QNTask, DoesNotCatchStandardError) {
    std::optional<QString> output;
    const QStringList console = test::consoleLinesOf([&] {
        output = QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, u"echo complaint >&2"_s});
    });
    EXPECT_EQ(output, std::nullopt);
    EXPECT_EQ(console, QStringList{u"complaint"_s});
}

TEST(QNTask, TellsOfAProgramThatIsMissingOnTheConsoleAndInTheLog) {
    std::optional<QString> output = u"something"_s;
    const QStringList console =
        test::consoleLinesOf([&] { output = QNTask::runTaskWithPath(u"/none/tool"_s, {u"x"_s}); });
    EXPECT_EQ(output, std::nullopt);
    EXPECT_TRUE(console.contains(u"Exception: launch path not accessible"_s)) << console.join(u'|').toStdString();
    const QStringList log = test::eventLog();
    ASSERT_EQ(log.size(), 1);
    EXPECT_TRUE(log[0].contains(u"\"trace\": \"ERROR\", \"message\":\" Run Task with path: /none/tool threw an "
                                "exception: launch path not accessible\""_s))
        << log[0].toStdString();
    EXPECT_TRUE(log[0].contains(u"\"file\": \"QNTask.cpp\", \"fn\": \"+[QNTask runTaskWithPath:andArguments:]\""_s));
}

TEST(QNTask, TakesAFolderOrAFileWithoutPermissionForNoProgram) {
    test::writeFile(test::folder() + u"/data"_s, "x");
    test::consoleLinesOf([] {
        EXPECT_EQ(QNTask::runTaskWithPath(u"/usr"_s), std::nullopt);
        EXPECT_EQ(QNTask::runTaskWithPath(test::folder() + u"/data"_s), std::nullopt);
    });
    EXPECT_EQ(test::eventLogMessages(),
              (QStringList{u"Run Task with path: /usr threw an exception: launch path not accessible"_s,
                           u"Run Task with path: "_s + test::folder() +
                               u"/data threw an exception: launch path not accessible"_s}));
}

TEST(QNTask, ReturnsAllThatThePipeHolds) {
    const auto output = QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, u"head -c 65536 /dev/zero | tr '\\0' a"_s});
    EXPECT_EQ(output, QString(65536, u'a'));
}

// Nothing is read before the program has ended: one that prints more than the pipe holds is waited for.
TEST(QNTask, WaitsForAProgramThatPrintsMoreThanThePipeHolds) {
    const QString process = test::folder() + u"/process"_s;
    ASSERT_EQ(::mkfifo(process.toStdString().c_str(), 0600), 0);
    std::binary_semaphore returned(0);
    std::thread impatient([&] {
        pid_t program = 0;
        std::ifstream(process.toStdString()) >> program;
        EXPECT_FALSE(returned.try_acquire_for(std::chrono::seconds(2)));
        ::kill(program, SIGKILL);
    });
    const QString script = u"echo $$ > '%1'; exec head -c 65537 /dev/zero"_s.arg(process);
    EXPECT_EQ(QNTask::runTaskWithPath(u"/bin/sh"_s, {u"-c"_s, script}), u""_s);
    returned.release();
    impatient.join();
}

TEST(QNTask, RunsTheStandInOfAToolUnderItsPlainPath) {
    test::putSystemTool(u"/usr/bin/hdiutil"_s, "#!/bin/sh\necho stand-in \"$@\"\n");
    EXPECT_EQ(QNTask::runTaskWithPath(u"/usr/bin/hdiutil"_s, {u"mount"_s, u"a b"_s}), u"stand-in mount a b\n"_s);
}
