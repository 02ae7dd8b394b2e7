#pragma once

#include "base/Descriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace hdi {

// A process that cannot be mistaken for a later one with the same number: its start time (clock ticks since boot, field
// 22 of /proc/PID/stat) belongs to it.
struct ProcessIdentity {
    pid_t pid = 0;
    std::uint64_t started = 0;

    static ProcessIdentity self();
    bool isAlive() const;
    // A pidfd when it still lives.
    base::Descriptor open() const;
    bool operator==(const ProcessIdentity&) const = default;
};

// Changes with every start of the machine; "unknown" where the kernel does not tell.
std::string bootId();

} // namespace hdi
