#pragma once

#include "tools/qn-portal/check/Finding.h"

#include <QString>

namespace portal::check {

// Whether `host` can be reached from this machine or this network only: loopback, private and link-local addresses,
// names without a dot, .local and the like.
bool isLocalHost(const QString& host);

// What an address is for: what a user sees of a wrong one depends on it.
enum class AddressUse { kConfiguration, kImage, kAnalytics, kLink };

// Judges an address of a configuration or a bundle by the installer's rules. `mayBeLocal` for a portal that is itself
// tried out on this machine. True when the installer could ask for it.
bool checkAddress(Findings& findings, const Place& place, const QString& text, AddressUse use, bool mayBeLocal);

} // namespace portal::check
