#include "platform/base/ProcessSetup.h"

#include "base/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace platform {

void undoInheritedSettings() {
    // The lowest free number is given out first, so this fills exactly the gaps among 0, 1 and 2.
    base::Descriptor null(::open("/dev/null", O_RDWR));
    while (null && null.get() <= STDERR_FILENO) {
        null.release(); // stays open for the whole process
        null.reset(::open("/dev/null", O_RDWR));
    }

    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit is then an error as any other
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    ::sigprocmask(SIG_UNBLOCK, &children, nullptr);
}

} // namespace platform
