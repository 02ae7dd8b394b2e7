#include "hdiutil/front/ProcessIdentity.h"

#include <fcntl.h>
#include <sys/syscall.h>

#include <algorithm>
#include <charconv>
#include <vector>

namespace hdi {
namespace {

std::vector<std::string_view> splitAtBlanks(std::string_view text) {
    std::vector<std::string_view> fields;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        fields.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return fields;
}

std::optional<std::uint64_t> startTimeOfProcess(pid_t pid) {
    return startTimeOf(readSmallFile("/proc/" + std::to_string(pid) + "/stat"));
}

} // namespace

std::string readSmallFile(const std::string& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    char buffer[4096];
    ssize_t count = 0;
    while (file && (count = ::read(file.get(), buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

std::optional<std::uint64_t> startTimeOf(std::string_view statText) {
    const std::size_t nameEnd = statText.rfind(')');
    if (nameEnd == std::string_view::npos || nameEnd + 2 > statText.size()) {
        return std::nullopt;
    }
    const std::vector<std::string_view> fields = splitAtBlanks(statText.substr(nameEnd + 2));
    constexpr std::size_t kStateField = 0; // the fields after the name begin with the third
    constexpr std::size_t kStartField = 19;
    if (fields.size() <= kStartField || fields[kStateField] == "Z" || fields[kStateField] == "X") {
        return std::nullopt;
    }
    const std::string_view field = fields[kStartField];
    std::uint64_t started = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), started);
    return error == std::errc() && end == field.data() + field.size() ? std::optional(started) : std::nullopt;
}

ProcessIdentity ProcessIdentity::self() {
    return {getpid(), startTimeOfProcess(getpid()).value_or(0)};
}

bool ProcessIdentity::isAlive() const {
    return pid > 0 && startTimeOfProcess(pid) == started;
}

UniqueFd ProcessIdentity::open() const {
    if (pid <= 0) {
        return {};
    }
    // Opened first and compared then: a number that was given away in between is noticed.
    UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    return isAlive() ? std::move(handle) : UniqueFd();
}

std::string bootId() {
    std::string id = readSmallFile("/proc/sys/kernel/random/boot_id");
    while (!id.empty() && (id.back() == '\n' || id.back() == ' ')) {
        id.pop_back();
    }
    return id.empty() ? "unknown" : id;
}

} // namespace hdi
