#pragma once

#include <QSizeF>
#include <QString>

#include <array>
#include <optional>

// What the system knows of the machine. Any thread unless said otherwise.
namespace platform {

// Major, minor and bug-fix number; a missing one is 0. Linux: VERSION_ID of os-release, else the kernel release.
std::array<int, 3> operatingSystemVersion();

// The main screen's frame in points, not pixels; 0 by 0 without a screen. Main thread.
QSizeF mainScreenSize();

// macOS's text for the processor family, such as "Intel x86-64" or "ARM64"; absent when unknown.
std::optional<QString> localArchitectureDescription();

} // namespace platform
