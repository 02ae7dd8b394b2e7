#pragma once

#include <QString>

namespace platform {

// Whether Qt's plugin for a window system ("xcb") can be had: in the folder's `platforms`, as libqxcb followed by
// anything and then by the suffix (".so"), or linked into this program. Any thread.
bool hasWindowPlugin(const QString& folder, const QString& name, const QString& suffix);

} // namespace platform
