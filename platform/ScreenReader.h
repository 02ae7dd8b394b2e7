#pragma once

#include <QString>

class QAccessibleInterface;

// Says something to whoever listens to the screen instead of looking at it. Main thread.
namespace platform {

// Has `text` spoken when there is somebody to speak it, as news of `about`. Never waits; what cannot be said now is not
// said later.
void announce(QAccessibleInterface& about, const QString& text);

} // namespace platform
