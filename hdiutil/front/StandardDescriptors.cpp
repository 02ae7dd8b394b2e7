#include "hdiutil/front/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

namespace hdi {

void fillStandardDescriptors() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) < 0 && errno == EBADF) {
            // The lowest free number is this one. Reading and writing fail with EBADF, as on a closed descriptor.
            (void)::open("/", O_PATH | O_DIRECTORY); // NOLINT(cppcoreguidelines-pro-type-vararg)
        }
    }
}

} // namespace hdi
