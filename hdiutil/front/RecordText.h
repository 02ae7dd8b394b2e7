#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// The one format of what a process of the tool writes for another one to read: a line that says what it is, lines of
// fields, and a line that says that nothing is missing. A field may hold anything.
using Fields = std::vector<std::string>;

// `kind` is the first line. Pure.
std::string recordText(std::string_view kind, const std::vector<Fields>& lines);

// The lines between the first and the last. Absent for text of another kind and for text that was cut short, as on a
// full disk. Pure.
std::optional<std::vector<Fields>> readRecordText(std::string_view kind, std::string_view text);

} // namespace hdi
