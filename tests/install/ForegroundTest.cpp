#include "tests/install/DiskImageTest.h"
#include "tests/platform/ManagedDisplay.h"
#include "tests/support/TestEnvironment.h"

#include <thread>

using namespace Qt::StringLiterals;

class Foreground : public DiskImage {
protected:
    Foreground() { fakeDiskImageTool(kMounts); }

    static inline const QString kMoving = u"Moving Installer to foreground"_s;
    ManagedDisplay display_;
};

TEST_F(Foreground, GoesToTheSecondOfTwoApplicationsOfTheInstallersIdentifier) {
    auto earlier = display_.startApplication(identifier());
    auto other = display_.startApplication(u"com.example.other"_s);
    ASSERT_TRUE(display_.activate(*other));
    // The installer, the newer one, stays until the older one is in front.
    putInstaller(u"Setup"_s, "until [ -e \"$HOME/enough\" ]; do sleep 0.05; done\n");
    bool cameForward = false;
    std::thread watcher([&] {
        cameForward = display_.becomesActive(*earlier);
        test::writeFile(test::home() + u"/enough"_s, "");
    });
    whenTerminated([&] {
        watcher.join();
        EXPECT_TRUE(cameForward);
        EXPECT_EQ(messages().count(kMoving), 1);
        const qsizetype line = messages().indexOf(kMoving);
        EXPECT_TRUE(messages().value(line - 1).startsWith(u"Running Installer: "_s));
        EXPECT_TRUE(messages().value(line + 1).startsWith(u"Installer from path : "_s));
        earlier.reset();
        other.reset();
        display_.stop();
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(Foreground, IsNotAskedForWhenTheSecondIsActiveAlready) {
    putInstaller(u"Setup"_s, "");
    auto earlier = display_.startApplication(identifier());
    ASSERT_TRUE(display_.activate(*earlier));
    whenTerminated([&] {
        EXPECT_FALSE(messages().contains(kMoving));
        earlier.reset();
        display_.stop();
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(Foreground, IsNotAskedForWhenOnlyTheInstallerRuns) {
    putInstaller(u"Setup"_s, "");
    auto other = display_.startApplication(u"com.example.other"_s);
    whenTerminated([&] {
        EXPECT_FALSE(messages().contains(kMoving));
        other.reset();
        display_.stop();
    });
    finish();
    FAIL() << "the program did not end";
}
