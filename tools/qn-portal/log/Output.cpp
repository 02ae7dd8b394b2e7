#include "tools/qn-portal/log/Output.h"

#include "tools/qn-portal/log/LogError.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace portal::eventlog {

void Output::flush() {
    std::string_view rest = text_;
    while (!rest.empty()) {
        const ssize_t count = write(descriptor_, rest.data(), rest.size());
        if (count < 0 && errno != EINTR) {
            throw LogError(name_ + " cannot be written: " + std::strerror(errno));
        }
        rest.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    text_.clear();
}

} // namespace portal::eventlog
