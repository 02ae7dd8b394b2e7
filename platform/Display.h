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

// Adds the fonts of this folder, where there is one, to those of the system, on a thread of its own. Main thread,
// before Qt starts. A system without a configuration of its fonts has them in /usr/share/fonts.
void addOwnFonts(const QString& folder);
// Until what addOwnFonts() began is done: Qt finds the fonts with the first text that it measures. Any thread.
void waitForOwnFonts();

} // namespace platform
