#pragma once

#include <QApplication>

class PlatformException;

// The application object. An exception that leaves an event's handler would otherwise tear the event loop down; here it
// goes to the uncaught-exception handler. A request of the system to quit ends the process in order, without asking.
class Application : public QApplication {
    Q_OBJECT

public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override;

    // Calls the installed handler, which the launch sequence installs first; nothing else happens.
    static void reportException(const PlatformException& exception);
};
