#include "tools/qn-portal/log/Output.h"

#include "tools/qn-portal/log/LogError.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace portal::eventlog {

void writeAll(int descriptor, const std::string& name, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            throw LogError(name + " cannot be written: " + std::strerror(errno));
        }
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

} // namespace portal::eventlog
