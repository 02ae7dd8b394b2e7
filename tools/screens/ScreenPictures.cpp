#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "platform/Bundle.h"
#include "platform/base/MainQueue.h"
#include "ui/MainMenu.h"
#include "ui/QNAlertController.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QScreen>

#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

// Makes a picture of every screen, in the language and at the scale of its environment, from the display's own pixels.
// Runs inside a copy of the bundle; the script beside it makes that copy, the display and the compositor.

namespace {

constexpr int kAround = 56;        // points of desktop around the window
constexpr int kUntilPainted = 700; // milliseconds, compositor included

void turnLoop(int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

// A quiet desktop, so that the shadow is seen.
class Desktop : public QWidget {
public:
    Desktop() {
        setWindowFlag(Qt::FramelessWindowHint);
        setGeometry(QGuiApplication::primaryScreen()->geometry());
        show();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(0xd7, 0xde, 0xe8));
    }
};

bool savePicture(const Window& window, const QString& path) {
    turnLoop(kUntilPainted);
    const QRect body(window.pos() + window.contentView()->pos(), window.contentView()->size());
    const QRect shown = body.adjusted(-kAround, -kAround, kAround, kAround);
    QScreen* const screen = QGuiApplication::primaryScreen();
    return screen->grabWindow(0, shown.x(), shown.y(), shown.width(), shown.height()).save(path, "png");
}

std::shared_ptr<QNConfig> linkConfig() {
    return std::make_shared<QNConfig>(QVariantMap{
        {u"userAction"_s, QVariantList{QVariantMap{{u"action"_s, u"openLink"_s},
                                                   {u"isActive"_s, u"1"_s},
                                                   {u"actionUrl"_s, u"https://www.example.com/download"_s}}}}});
}

bool saveAll(Window& window, QNMainController& controller, const QString& prefix) {
    bool saved = savePicture(window, prefix + u"no-internet.png"_s);
    controller.showGenericError();
    saved = savePicture(window, prefix + u"error.png"_s) && saved;
    controller.setConfig(linkConfig());
    controller.showGenericDownloadScreen();
    saved = savePicture(window, prefix + u"download.png"_s) && saved;
    controller.showConnectingScreen();
    saved = savePicture(window, prefix + u"connecting.png"_s) && saved;
    QNAlertController alert;
    alert.showWindow(nullptr, platform::localizedString(u"MenuQuit"_s),
                     platform::localizedString(u"MessagePleaseTryLater"_s), u"Y"_s, u"N"_s);
    window.orderOut();
    return savePicture(*alert.window(), prefix + u"alert.png"_s) && saved;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: screen_pictures PREFIX\n", stderr);
        return 2;
    }
    const QString prefix = QString::fromLocal8Bit(argv[1]);
    int toolkitArgc = 1;
    const QApplication application(toolkitArgc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    MainQueue::attachToMainThread();
    const Desktop desktop;
    const MainInterface interface = loadMainMenu();
    Window& window = *interface.window;
    window.center();
    // The surroundings have no network: the first run ends at once, on the no-internet screen.
    QNMainController controller(u"QNMainController"_s, interface.mainMenu);
    window.addSubview(controller.view());
    window.setStyleMask(Window::kBorderless);
    window.setBackgroundColor(Color{0.0, 0.0, 0.0, 0.0});
    window.setOpaque(false);
    window.setHasShadow(true);
    window.setCornerRadius(8.0);
    window.orderFrontRegardless();
    return saveAll(window, controller, prefix) ? 0 : 1;
}
