#include "tools/screens/ScreenTour.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QScreen>

#include <cstdio>

using namespace Qt::StringLiterals;

// Makes a picture of every screen from the display's own pixels, as a user's compositor shows them. The script beside
// it makes the bundle's copy, the display and the compositor.

namespace {

constexpr int kAround = 56;        // points of desktop around the window
constexpr int kUntilPainted = 400; // milliseconds, compositor included

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

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: screen_pictures PREFIX\n", stderr);
        return 2;
    }
    const QString prefix = QString::fromLocal8Bit(argv[1]);
    int toolkitArgc = 1;
    const QApplication application(toolkitArgc, argv);
    const Desktop desktop;
    bool isSaved = true;
    tourScreens([&](const QString& screen, const Window& window) {
        isSaved = savePicture(window, prefix + screen + u".png"_s) && isSaved;
    });
    return isSaved ? 0 : 1;
}
