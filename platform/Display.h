#pragma once

namespace platform {

// Whether a window can be shown at all. Asked before the toolkit starts, which would end the process in its own way.
// Main thread.
bool displayIsAvailable();

} // namespace platform
