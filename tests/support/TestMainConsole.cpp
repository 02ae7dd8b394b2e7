#include "platform/base/MainQueue.h"
#include "platform/base/ProcessArguments.h"
#include "tests/support/PrivateBundle.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

// For cases without windows: an event loop, but no display.
int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv)) {
        return *status;
    }
    testing::InitGoogleMock(&argc, argv);
    const QCoreApplication application(argc, argv);
    setProcessArguments(QCoreApplication::arguments());
    MainQueue::attachToMainThread();
    runCasesAndEnd();
}
