#include "logging/QNLogger.h"
#include "platform/Task.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

// What an entry does to its file is seen from outside: the second case runs the first one under strace.

TEST(LogFileOpens, WritesTwoEntries) {
    test::setSetting(u"kQNApplicationDataPathProd"_s, u"/Data"_s);
    QNLogger::debug(u"one"_s, logContext("f"));
    QNLogger::logEvent(u"T ci=a {}"_s, logContext("f"));
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"one"_s, u"{}"_s));
}

namespace {

// The calls on the log file, one word each.
QStringList callsOnTheLog(const QString& trace) {
    static const QRegularExpression open(u"open(?:at)?\\(.*/Data/Logs/install\\.log\", ([A-Z_|]+).*\\) = (-?\\d+)"_s);
    QStringList calls;
    for (const QString& line : trace.split(u'\n')) {
        const auto match = open.match(line);
        if (!match.hasMatch()) {
            continue;
        }
        const bool creates = match.captured(1).contains(u"O_CREAT"_s);
        const bool failed = match.captured(2).startsWith(u'-');
        calls += (creates ? u"create"_s : u"open"_s) + (failed ? u" fails"_s : QString());
    }
    return calls;
}

} // namespace

TEST(LogFileOpens, OpensTheFileTwiceForEachEntryAndCreatesAMissingOneInBetween) {
    const QString trace = test::folder() + u"/trace"_s;
    test::setEnvironment("ASAN_OPTIONS", "detect_leaks=0"); // the leak checker cannot work under a tracer
    Task strace;
    strace.setLaunchPath(u"/usr/bin/strace"_s);
    strace.setArguments({u"-f"_s, u"-e"_s, u"trace=open,openat"_s, u"-o"_s, trace,
                         test::bundle() + u"/Contents/MacOS/QNInstaller"_s,
                         u"--gtest_filter=LogFileOpens.WritesTwoEntries"_s});
    strace.launch();
    strace.waitUntilExit();
    ASSERT_EQ(strace.terminationStatus(), 0);
    EXPECT_THAT(callsOnTheLog(QString::fromUtf8(test::readFile(trace))),
                ElementsAre(u"open fails"_s, u"create"_s, u"open"_s, u"open"_s, // the first entry
                            u"open"_s, u"open"_s, u"open"_s));                  // the second, and reading it here
}
