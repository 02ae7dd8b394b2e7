#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

// Qt's plugin for the window system that this process can show a window on, out of those in the folder; absent
// when there is none. Asked before Qt starts, which would end the process in its own way. Main thread.
//
// Linux: "wayland" when $WAYLAND_DISPLAY answers and its plugin is there, else "xcb" when the X server answers.
std::optional<QByteArray> windowSystemPlugin(const QString& pluginsFolder);

// Reads the system's font configuration on a thread of its own, so that it is there when the first text is measured.
// Any thread. Does not tell when it is done: whoever needs fonts earlier waits for them as ever.
void prepareFonts();

// Keeps Qt, which looks for assistive technology on the session's bus, from starting a bus where there is
// none: it would fork this process while its threads run, keep the first picture waiting, and leave a daemon behind.
// And from waiting for a bus that takes connections and says nothing: within a quarter of a second, usually within one
// millisecond, it is found out whether the buses answer, and Qt goes on without those that do not.
// Changes this process's environment, but not that of the programs it starts. Before any thread.
void keepToolkitFromStartingABus();

} // namespace platform
