#include "logging/LogContext.h"
#include "sysinfo/QNPortalProvider.h"
#include "sysinfo/QNSystemInfo.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

TEST(ProbeThreads, FindTheSameWhenTheyRaceForTheFirstAnswer) {
    test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
    test::putSystemTool(u"/usr/sbin/system_profiler"_s, "#!/bin/sh\necho 'Chip: Apple M1'\n");
    test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"14.2.1\"\n");
    constexpr int kThreads = 4;
    std::barrier start(kThreads);
    std::vector<QString> identifiers(kThreads);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                start.arrive_and_wait();
                EXPECT_EQ(QNSystemInfo::getOSVersion(), u"14.2.1"_s);
                EXPECT_EQ(QNSystemInfo::getMacAddress(), u"a4:83:e7:12:34:56"_s);
                EXPECT_EQ(QNSystemInfo::getCPUName(), u"Apple M1"_s);
                EXPECT_EQ(logContext("f")[u"locale"_s], u"en-US"_s);
                identifiers[static_cast<std::size_t>(thread)] = QNPortalProvider::getCi().value_or(QString());
            });
        }
    }
    for (const QString& identifier : identifiers) {
        EXPECT_EQ(identifier, identifiers[0]);
    }
    EXPECT_EQ(identifiers[0].size(), 36);
}
