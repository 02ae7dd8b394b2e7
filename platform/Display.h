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

} // namespace platform
