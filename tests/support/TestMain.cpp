#include "platform/base/MainQueue.h"
#include "platform/base/ProcessArguments.h"
#include "tests/support/PrivateBundle.h"

#include <QApplication>

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

// For cases that show windows: an application object on a real X display.
int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv)) {
        return *status;
    }
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    if (!std::getenv("DISPLAY")) {
        std::fputs("these tests need an X display; ./test starts one\n", stderr);
        return 1;
    }
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    setProcessArguments(QCoreApplication::arguments());
    MainQueue::attachToMainThread();
    runCasesAndEnd();
}
