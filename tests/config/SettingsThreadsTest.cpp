#include "config/QNConfigProvider.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <barrier>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

TEST(SettingsThreads, ReadTheSameAndTellTheListOnceWhenTheyRace) {
    test::writeInfoPlist({{u"QNConfig"_s, QVariantMap{{u"QNPortalType"_s, u"acme"_s}, {u"key"_s, u"value"_s}}}});
    const QStringList console = test::consoleLinesOf([] {
        constexpr int kThreads = 8;
        std::barrier start(kThreads);
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&start] {
                start.arrive_and_wait();
                EXPECT_EQ(QNConfigProvider::getPortalType(), u"acme"_s);
                EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"key"_s), u"value"_s);
            });
        }
    });
    EXPECT_EQ(console.filter(u"QNConfigPlist: "_s).size(), 1);
}
