#pragma once

#include "tests/platform/ChildProcess.h"

#include <QString>

#include <memory>
#include <optional>

// An X display of a case's own with a window manager: other cases would see one come and go on a shared display. From
// its making on, DISPLAY names it.
class ManagedDisplay {
public:
    enum class Manager { kNow, kLater };
    explicit ManagedDisplay(Manager manager = Manager::kNow);

    void startWindowManager();
    // A running application with two windows.
    std::unique_ptr<ChildProcess> startApplication(const QString& identifier);

    static bool isActive(pid_t process);
    static bool isActive(const ChildProcess& application) { return isActive(application.process()); }
    // Asks until it is, and stays so: the window manager may not know the windows yet, and between two windows of the
    // application no window is active for a moment.
    static bool activate(const ChildProcess& application);
    // Waits until it is, without turning this thread's event loop. Any thread.
    static bool becomesActive(const ChildProcess& application);

    // Ends both programs.
    void stop();

private:
    std::optional<ChildProcess> server_;
    std::optional<ChildProcess> manager_;
};
