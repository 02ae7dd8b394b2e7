#include "app/Application.h"

#include "platform/base/UncaughtException.h"

bool Application::notify(QObject* receiver, QEvent* event) {
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
