#include "sysinfo/QNSystemInfo.h"
#include "tests/support/QtPrinters.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(ScreenResolution, IsTheSizeOfTheMainScreenInPoints) {
    const QSize size = QGuiApplication::primaryScreen()->geometry().size();
    ASSERT_GT(size.width(), 0);
    EXPECT_EQ(QNSystemInfo::getScreenResolution(), u"%1x%2"_s.arg(size.width()).arg(size.height()));
    EXPECT_EQ(QNSystemInfo::getScreenResolution(), u"%1x%2"_s.arg(size.width()).arg(size.height()));
}
