#include "app/Application.h"

#include "platform/base/UncaughtException.h"

#include <gtest/gtest.h>

#include <QEvent>

namespace {

int reported = 0;

class Raising : public QObject {
public:
    bool event(QEvent*) override { throw PlatformException::range(QStringLiteral("in an event")); }
};

} // namespace

TEST(ApplicationEvents, HandTheirExceptionsToTheInstalledHandler) {
    platform::setUncaughtExceptionHandler([](const PlatformException& exception) {
        EXPECT_EQ(exception.reason(), QStringLiteral("in an event"));
        ++reported;
    });
    Raising receiver;
    QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
    QCoreApplication::processEvents();
    EXPECT_EQ(reported, 1);
}
