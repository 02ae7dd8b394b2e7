#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QImage>
#include <QPoint>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>

class QNMainController;
class QWidget;
class Window;

// A controller in a real window on the X display, put together as the program does it, on a machine without a network:
// its first run ends on the no-internet screen and asks no server.
class UserInterfaceTest : public testing::Test {
protected:
    UserInterfaceTest();
    ~UserInterfaceTest() override;

    // Each makes what is missing; the first run starts with the controller.
    QNMainController& controller();
    Window& window();
    // The window on the screen, painted, with the keyboard.
    Window& shownWindow();

    // What the user's default handler was asked to open, once there are `count` addresses.
    static QStringList openedAddresses(int count = 1);
    // The names of the notifications of the program's vocabulary that were posted since the fixture was made, each with
    // its object as JSON when it has one.
    const QStringList& posted() const { return posted_; }

    // The process ends where the program would: `expectations` are checked then, and the case is over. Without them an
    // end is a failure.
    static void whenTerminated(std::function<void()> expectations);

private:
    QStringList posted_;
    std::unique_ptr<Window> window_;
    std::unique_ptr<QNMainController> controller_;
};

namespace test {

// Runs a case of this program anew, in the same bundle, with these variables of its environment: another language or
// scale. What it said when it failed.
QByteArray failuresOf(const QString& name, const std::map<QString, QString>& environment);

// The display's own pixels, at its own resolution: what a user sees.
QImage screenPixels();
// Waits until two pictures in a row are the same, so that nothing is still being painted.
QImage settledScreen();

// Real events through the toolkit's event delivery. Positions are in the widget's coordinates; absent: its middle.
void click(QWidget& widget, const QPoint& position);
void click(QWidget& widget);
void pressKey(QWidget& window, int key);

} // namespace test
