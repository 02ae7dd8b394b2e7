#include "platform/base/ProcessSetup.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace platform {

void undoInheritedSettings() {
    // The lowest free number is given out first, so this fills exactly the gaps among 0, 1 and 2.
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);

    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit is then an error as any other
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    ::sigprocmask(SIG_UNBLOCK, &children, nullptr);
}

} // namespace platform
