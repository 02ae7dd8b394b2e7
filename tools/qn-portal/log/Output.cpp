#include "tools/qn-portal/log/Output.h"

#include "base/Files.h"
#include "tools/qn-portal/log/LogError.h"

#include <cerrno>
#include <cstring>

namespace portal::eventlog {

void writeAll(int descriptor, const std::string& name, std::string_view text) {
    if (!base::writeAll(descriptor, text)) {
        throw LogError(name + " cannot be written: " + std::strerror(errno));
    }
}

} // namespace portal::eventlog
