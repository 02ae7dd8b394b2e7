#include "app/Application.h"
#include "platform/base/MainQueue.h"
#include "tests/support/PrivateBundle.h"

#include <gmock/gmock.h>

// The program's own application object in the place of Qt's.
int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv)) {
        return *status;
    }
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    const Application application(argc, argv);
    MainQueue::attachToMainThread();
    return RUN_ALL_TESTS();
}
