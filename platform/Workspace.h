#pragma once

#include "platform/base/Address.h"

#include <QString>

#include <optional>

// Opening addresses and finding applications. Main thread.
namespace platform {

// Hands the address to the user's default handler; true when that could be started. False for an absent address
// and for a text without a scheme, which would be a file of this machine. Does not wait for the other program.
bool openAddress(const std::optional<Address>& address);

// The full path of the application at an absolute path; absent when there is no application bundle.
std::optional<QString> fullPathForApplication(const QString& path);

} // namespace platform
