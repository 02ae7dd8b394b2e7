#include "platform/AddressEvents.h"
#include "platform/Bundle.h"
#include "platform/UserLocale.h"
#include "platform/base/MainQueue.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QWidget>

#include <unistd.h>

#include <cstdio>

// An application with two windows for the tests of activation. Takes its place on the session bus, writes "shown" when
// both windows are there, and stays until its standard input ends.
int main(int argc, char** argv) {
    platform::keepQtInUtf8();
    QApplication application(argc, argv);
    MainQueue::attachToMainThread();
    platform::setOpenAddressHandler([](const QString& address) {
        std::printf("%s\n", address.toUtf8().constData());
        std::fflush(stdout);
    });
    QWidget first;
    QWidget second;
    first.setGeometry(10, 10, 200, 100);
    second.setGeometry(30, 30, 200, 100);
    first.show();
    second.show();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, &QApplication::quit);
    MainQueue::async([] {
        std::puts("shown");
        std::fflush(stdout);
    });
    return QApplication::exec();
}
