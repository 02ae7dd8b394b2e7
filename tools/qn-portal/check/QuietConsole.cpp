#include "tools/qn-portal/check/QuietConsole.h"

#include <fcntl.h>
#include <unistd.h>

namespace portal::check {

QuietConsole::QuietConsole() {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) {
        return;
    }
    kept_ = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

QuietConsole::~QuietConsole() {
    if (kept_ >= 0) {
        ::dup2(kept_, STDERR_FILENO);
        ::close(kept_);
    }
}

} // namespace portal::check
