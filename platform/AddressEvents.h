#pragma once

#include <QString>

#include <functional>

// Addresses of the program's own scheme that the system hands to it. Main thread.
namespace platform {

// `handler` runs on the main thread for each address, with its original text.
// Linux: org.freedesktop.Application.Open on the session bus (Desktop Entry standard, "D-Bus activation").
void setOpenAddressHandler(std::function<void(const QString&)> handler);

// Hands an address to the copy that runs, without waiting for it, for at most a second. Used by the process that the
// desktop starts for the scheme.
void forwardAddressToRunningCopy(const QString& address);

} // namespace platform
