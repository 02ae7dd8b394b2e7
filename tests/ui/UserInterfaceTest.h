#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QRect>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

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

    // The content view's rectangle on the display, in pixels.
    QRect contentInPixels();
    // A plain window of another colour below everything, in place of a desktop.
    QWidget& showBackdrop();

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
    std::unique_ptr<QWidget> backdrop_;
};

namespace test {

const QColor kBackdrop(0, 128, 255);

// A program of the X display, such as its compositor, for as long as the object lives.
class DisplayProgram {
public:
    explicit DisplayProgram(const QString& program);
    ~DisplayProgram();
    DisplayProgram(const DisplayProgram&) = delete;
    DisplayProgram& operator=(const DisplayProgram&) = delete;

private:
    QProcess process_;
};

// Runs a case of this program anew, in the same bundle, with these variables of its environment: another language or
// scale. What it said when it failed.
QByteArray failuresOf(const QString& name, const std::map<QString, QString>& environment);

// The display's own pixels, at its own resolution: what a user sees.
QImage screenPixels();
// Waits until two pictures in a row are the same, so that nothing is still being painted.
QImage settledScreen();

// Real events through Qt's event delivery. Positions are in the widget's coordinates; absent: its middle.
void click(QWidget& widget, const QPoint& position);
void click(QWidget& widget);
void pressKey(QWidget& window, int key);

} // namespace test
