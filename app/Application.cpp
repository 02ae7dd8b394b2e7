#include "app/Application.h"

#include "platform/Termination.h"
#include "platform/base/UncaughtException.h"

#include <QEvent>

bool Application::notify(QObject* receiver, QEvent* event) {
    // The system asks: the session ends, or somebody says so in the Dock. Qt would ask each window to close, and a
    // window that asks the user back would keep the session from ending.
    if (event->type() == QEvent::Quit && receiver == this) {
        platform::reportingUncaughtExceptions(platform::terminate);
    }
    try {
        return QApplication::notify(receiver, event);
    } catch (const PlatformException& exception) {
        reportException(exception);
        return false;
    } catch (...) {
        platform::reportingUncaughtExceptions([] { throw; });
        return false;
    }
}

void Application::reportException(const PlatformException& exception) {
    platform::uncaughtExceptionHandler()(exception);
}
