#include "tools/qn-portal/check/QuietConsole.h"

#include <fcntl.h>
#include <unistd.h>

namespace portal::check {

QuietConsole::QuietConsole() {
    const base::Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (!nowhere) {
        return;
    }
    kept_.reset(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    ::dup2(nowhere.get(), STDERR_FILENO);
}

QuietConsole::~QuietConsole() {
    if (kept_) {
        ::dup2(kept_.get(), STDERR_FILENO);
    }
}

} // namespace portal::check
