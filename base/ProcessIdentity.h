#pragma once

#include "base/Descriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace base {

// A process that cannot be mistaken for a later one with the same number: its start time (clock ticks since boot, field
// 22 of /proc/PID/stat) belongs to it. Any thread.
struct ProcessIdentity {
    pid_t pid = 0;
    std::uint64_t started = 0;

    static ProcessIdentity self();
    static ProcessIdentity of(pid_t pid); // of one that lives
    bool isAlive() const;
    // A pidfd when it still lives.
    Descriptor open() const;
    bool operator==(const ProcessIdentity&) const = default;
};

// "PID STARTED", and back; absent for anything else. Pure.
std::string textOf(const ProcessIdentity& process);
std::optional<ProcessIdentity> parseProcessIdentity(std::string_view text);

// The variable of the environment by which an application names itself, as such a text, to the disk-image tool: what is
// attached for it may go when it is gone.
inline constexpr const char* kAttachOwnerVariable = "HDIUTIL_OWNER";

} // namespace base
