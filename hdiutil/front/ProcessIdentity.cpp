#include "hdiutil/front/ProcessIdentity.h"

#include "base/Files.h"
#include "base/ProcessStat.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace hdi {
namespace {

std::optional<std::uint64_t> startTimeOfProcess(pid_t pid) {
    return base::startTimeOf(base::readSmallFile("/proc/" + std::to_string(pid) + "/stat").value_or(""));
}

} // namespace

ProcessIdentity ProcessIdentity::self() {
    return {getpid(), startTimeOfProcess(getpid()).value_or(0)};
}

bool ProcessIdentity::isAlive() const {
    return pid > 0 && startTimeOfProcess(pid) == started;
}

base::Descriptor ProcessIdentity::open() const {
    if (pid <= 0) {
        return {};
    }
    // Opened first and compared then: a number that was given away in between is noticed.
    base::Descriptor handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    return isAlive() ? std::move(handle) : base::Descriptor();
}

std::string bootId() {
    std::string id = base::readSmallFile("/proc/sys/kernel/random/boot_id").value_or("");
    while (!id.empty() && (id.back() == '\n' || id.back() == ' ')) {
        id.pop_back();
    }
    return id.empty() ? "unknown" : id;
}

} // namespace hdi
