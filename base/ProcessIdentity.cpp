#include "base/ProcessIdentity.h"

#include "base/Files.h"
#include "base/ProcessStat.h"
#include "base/Text.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace base {
namespace {

std::optional<std::uint64_t> startTimeOfProcess(pid_t pid) {
    return startTimeOf(readSmallFile("/proc/" + std::to_string(pid) + "/stat").value_or(""));
}

} // namespace

ProcessIdentity ProcessIdentity::self() {
    return of(getpid());
}

ProcessIdentity ProcessIdentity::of(pid_t pid) {
    return {pid, startTimeOfProcess(pid).value_or(0)};
}

bool ProcessIdentity::isAlive() const {
    return pid > 0 && startTimeOfProcess(pid) == started;
}

Descriptor ProcessIdentity::open() const {
    if (pid <= 0) {
        return {};
    }
    // Opened first and compared then: a number that was given away in between is noticed.
    Descriptor handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    return isAlive() ? std::move(handle) : Descriptor();
}

std::string textOf(const ProcessIdentity& process) {
    return std::to_string(process.pid) + ' ' + std::to_string(process.started);
}

std::optional<ProcessIdentity> parseProcessIdentity(std::string_view text) {
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos) {
        return std::nullopt;
    }
    const auto pid = parseNumber<pid_t>(text.substr(0, blank));
    const auto started = parseNumber<std::uint64_t>(text.substr(blank + 1));
    return pid && *pid > 0 && started ? std::optional(ProcessIdentity{*pid, *started}) : std::nullopt;
}

} // namespace base
