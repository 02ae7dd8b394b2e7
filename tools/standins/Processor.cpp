#include "tools/standins/Processor.h"

#include "tools/standins/SystemFiles.h"

#include <sys/utsname.h>

#include <sstream>

namespace standins {
namespace {

std::optional<std::string> firstValue(const std::string& cpuInformation, const std::string& label) {
    std::istringstream lines(cpuInformation);
    for (std::string line; std::getline(lines, line);) {
        const auto colon = line.find(':');
        if (colon == std::string::npos || trimmed(line.substr(0, colon)) != label) {
            continue;
        }
        if (std::string value = trimmed(line.substr(colon + 1)); !value.empty()) {
            return value;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> processorNameIn(const std::string& cpuInformation) {
    auto model = firstValue(cpuInformation, "model name");
    return model ? model : firstValue(cpuInformation, "Hardware");
}

std::string processorName() {
    const auto information = readFile(systemPath("/proc/cpuinfo"));
    if (auto name = processorNameIn(information.value_or(std::string()))) {
        return *name;
    }
    utsname names{};
    return ::uname(&names) == 0 && names.machine[0] != '\0' ? names.machine : "Unknown";
}

} // namespace standins
