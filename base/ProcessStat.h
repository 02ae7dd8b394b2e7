#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string_view>

// Reading of /proc/PID/stat (proc(5)); the program's name in it may hold anything. Pure.
namespace base {

// Clock ticks since the machine started: what tells a process from a later one with the same number. Absent when the
// text is not that, or when the process is only waiting to be reaped.
std::optional<std::uint64_t> startTimeOf(std::string_view statText);

// The process that started it, or that took it over.
std::optional<pid_t> parentOf(std::string_view statText);

} // namespace base
