#include "base/ProcessStat.h"

#include "base/Text.h"

#include <vector>

namespace base {
namespace {

// Counted as proc(5) does, from the state on; empty when there is no such field.
std::string_view fieldOf(std::string_view statText, std::size_t number) {
    constexpr std::size_t kState = 3;
    const std::size_t nameEnd = statText.rfind(')');
    if (nameEnd == std::string_view::npos || nameEnd + 2 > statText.size()) {
        return {};
    }
    const std::string_view rest = statText.substr(nameEnd + 2);
    const std::vector<std::string_view> fields = split(rest.substr(0, rest.find('\n')), ' ');
    return number - kState < fields.size() ? fields[number - kState] : std::string_view();
}

} // namespace

std::optional<std::uint64_t> startTimeOf(std::string_view statText) {
    const std::string_view state = fieldOf(statText, 3);
    return state == "Z" || state == "X" ? std::nullopt : parseNumber<std::uint64_t>(fieldOf(statText, 22));
}

std::optional<pid_t> parentOf(std::string_view statText) {
    return parseNumber<pid_t>(fieldOf(statText, 4));
}

} // namespace base
