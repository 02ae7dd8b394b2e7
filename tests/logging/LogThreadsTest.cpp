#include "logging/QNLogger.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QSet>

#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kThreads = 4;
constexpr int kEntries = 100;

QString message(int thread, int entry) {
    return u"%1 of thread %2, %3"_s.arg(entry).arg(thread).arg(QString(400, u'x'));
}

} // namespace

TEST(LogThreads, WritesEveryEntryOfSeveralThreadsAsOneWholeLine) {
    test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
    test::setSetting(u"kQNApplicationDataPathProd"_s, u"/Data"_s);
    std::barrier start(kThreads);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread, &start] {
            start.arrive_and_wait(); // the first entries race for the identifier, too
            for (int entry = 0; entry < kEntries; ++entry) {
                if (entry % 2 == 0) {
                    QNLogger::debug(message(thread, entry), logContext("f"));
                } else {
                    QNLogger::logEvent(u"T ci=c "_s + message(thread, entry), logContext("f"));
                }
            }
        });
    }
    threads.clear();

    const QStringList lines = test::eventLog();
    EXPECT_EQ(lines.size(), kThreads * kEntries);
    for (const QString& line : lines) {
        EXPECT_TRUE(line.startsWith(u"{ \"time\": \""_s) && line.endsWith(u"\" }"_s)) << line.toStdString();
        EXPECT_EQ(line.count(u"\"trace\": "_s), 1);
    }
    const QStringList messages = test::eventLogMessages();
    const QSet<QString> seen(messages.begin(), messages.end());
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int entry = 0; entry < kEntries; ++entry) {
            EXPECT_TRUE(seen.contains(message(thread, entry))) << thread << ' ' << entry;
        }
    }
}
