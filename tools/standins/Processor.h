#pragma once

#include <optional>
#include <string>

namespace standins {

// The first "model name" of /proc/cpuinfo (proc(5)), else the first "Hardware"; absent when neither has a value.
std::optional<std::string> processorNameIn(const std::string& cpuInformation);

// The same of this machine, else the machine name of uname(2), else "Unknown": never empty.
std::string processorName();

} // namespace standins
