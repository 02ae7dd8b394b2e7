#include "app/Application.h"
#include "platform/base/MainQueue.h"
#include "tests/support/PrivateBundle.h"
#include "tests/support/Utf8Locale.h"

#include <gmock/gmock.h>

#include <optional>

// The program's own application object in the place of Qt's.
int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv)) {
        return *status;
    }
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    std::optional<test::Utf8Locale> locale(std::in_place);
    const Application application(argc, argv);
    locale.reset();
    MainQueue::attachToMainThread();
    return RUN_ALL_TESTS();
}
