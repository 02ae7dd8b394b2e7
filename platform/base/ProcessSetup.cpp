#include "platform/base/ProcessSetup.h"

#include "base/Descriptor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

namespace platform {

namespace {

// What a run has open at the same time where a session bus and assistive technology take part, and a few for the
// libraries that nobody has counted.
constexpr int kDescriptors = 20;

// What a run maps beside the program and its libraries: pictures, fonts, and the stacks and heaps of its threads.
constexpr std::size_t kAddressSpace = std::size_t{320} * 1024 * 1024;

std::terminate_handler netBefore = nullptr;

// Nothing is unwound: other threads may use what would be destroyed.
void endWithoutMemory() {
    try {
        if (const std::exception_ptr inFlight = std::current_exception()) {
            std::rethrow_exception(inFlight);
        }
    } catch (const std::bad_alloc&) {
        constexpr std::string_view kLine = "QNInstaller: No window can be shown: there is not enough memory\n";
        [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, kLine.data(), kLine.size());
        ::_exit(1);
    } catch (...) {
        // Not ours to tell.
    }
    if (netBefore) {
        netBefore();
    }
    std::abort();
}

} // namespace

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

void refuseWithoutMemory() {
    netBefore = std::set_terminate(endWithoutMemory);
}

const char* missingRoom() {
    const base::Descriptor last(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, kDescriptors));
    if (!last && (errno == EINVAL || errno == EMFILE)) {
        return "No window can be shown: this process may have too few files open at a time (ulimit -n)";
    }
    void* const memory = ::mmap(nullptr, kAddressSpace, PROT_NONE, MAP_PRIVATE | MAP_ANON | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return "No window can be shown: this process may use too little memory (ulimit -v)";
    }
    ::munmap(memory, kAddressSpace);
    return nullptr;
}

} // namespace platform
