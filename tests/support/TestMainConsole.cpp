#include "platform/base/MainQueue.h"
#include "platform/base/ProcessArguments.h"
#include "tests/support/PrivateBundle.h"
#include "tests/support/Utf8Locale.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

#include <optional>

// For cases without windows: an event loop, but no display.
int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv)) {
        return *status;
    }
    testing::InitGoogleMock(&argc, argv);
    std::optional<test::Utf8Locale> locale(std::in_place);
    const QCoreApplication application(argc, argv);
    locale.reset();
    platform::setProcessArguments(QCoreApplication::arguments());
    MainQueue::attachToMainThread();
    runCasesAndEnd();
}
