#include <QApplication>
#include <QLabel>

using namespace Qt::StringLiterals;

// The least that a program of this toolkit can be: one window of our window's size with one text in it.
int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QLabel window(u"Connecting"_s);
    window.setWindowFlag(Qt::FramelessWindowHint);
    window.setAlignment(Qt::AlignCenter);
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    window.setPalette(palette);
    window.setFixedSize(640, 500);
    window.move(320, 126);
    window.show();
    return QApplication::exec();
}
