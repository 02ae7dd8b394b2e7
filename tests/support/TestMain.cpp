#include "platform/base/MainQueue.h"
#include "platform/base/ProcessArguments.h"
#include "tests/support/PrivateBundle.h"
#include "tests/support/Utf8Locale.h"

#include <QApplication>

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

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
    std::optional<test::Utf8Locale> locale(std::in_place);
    const QApplication application(argc, argv);
    locale.reset();
    QApplication::setQuitOnLastWindowClosed(false);
    platform::setProcessArguments(QCoreApplication::arguments());
    MainQueue::attachToMainThread();
    runCasesAndEnd();
}
