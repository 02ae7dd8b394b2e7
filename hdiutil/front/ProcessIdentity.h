#pragma once

#include "hdiutil/front/UniqueFd.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hdi {

// A process that cannot be mistaken for a later one with the same number: its start time (clock ticks since boot, field
// 22 of /proc/PID/stat) belongs to it.
struct ProcessIdentity {
    pid_t pid = 0;
    std::uint64_t started = 0;

    static ProcessIdentity self();
    bool isAlive() const;
    // A pidfd when it still lives.
    UniqueFd open() const;
    bool operator==(const ProcessIdentity&) const = default;
};

// The start time in the text of /proc/PID/stat; the program's name in it may hold anything. Absent when it is not that,
// or when the process is only waiting to be reaped. Pure.
std::optional<std::uint64_t> startTimeOf(std::string_view statText);

// Changes with every start of the machine; "unknown" where the kernel does not tell.
std::string bootId();

// All of a small file; empty when it cannot be read.
std::string readSmallFile(const std::string& path);

} // namespace hdi
