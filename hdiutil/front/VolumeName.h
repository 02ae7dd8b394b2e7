#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace hdi {

inline constexpr std::size_t kLongestName = 255; // bytes, what Linux file systems hold

// A volume's stored name as a single path component that fits on one line of the table: `/` becomes `:` (which is how
// macOS shows it), line ends, control characters and broken UTF-8 are dropped, blanks at both ends too; what
// then is empty, "." or ".." becomes "Untitled". Pure.
std::string cleanVolumeName(std::string_view stored);

// `name`, or `name 1`, `name 2`, … the first that `taken` denies; never longer than kLongestName. Pure.
std::string firstFreeName(const std::string& name, const std::function<bool(const std::string&)>& taken);

} // namespace hdi
