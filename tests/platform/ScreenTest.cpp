#include "platform/Machine.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

TEST(MainScreen, HasItsSizeInPoints) {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    ASSERT_NE(screen, nullptr);
    EXPECT_GT(screen->geometry().width(), 0);
    EXPECT_NEAR(platform::mainScreenSize().width(), screen->geometry().width(), 0.001);
    EXPECT_NEAR(platform::mainScreenSize().height(), screen->geometry().height(), 0.001);
}
