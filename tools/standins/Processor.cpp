#include "tools/standins/Processor.h"

#include "base/Files.h"
#include "base/Text.h"
#include "tools/standins/SystemFiles.h"

#include <sys/utsname.h>

#include <string_view>

namespace standins {
namespace {

std::optional<std::string> firstValue(const std::string& cpuInformation, std::string_view label) {
    for (const std::string_view line : base::split(cpuInformation, '\n')) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || base::trimmed(line.substr(0, colon)) != label) {
            continue;
        }
        if (const std::string_view value = base::trimmed(line.substr(colon + 1)); !value.empty()) {
            return std::string(value);
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
    const auto information = base::readSmallFile(systemPath("/proc/cpuinfo"));
    if (auto name = processorNameIn(information.value_or(std::string()))) {
        return *name;
    }
    utsname names{};
    return ::uname(&names) == 0 && names.machine[0] != '\0' ? names.machine : "Unknown";
}

} // namespace standins
