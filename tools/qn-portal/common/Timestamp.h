#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace portal {

// "yyyy-MM-ddTHH:mm:ss" and "Z" or an offset "+hh:mm", as seconds since 1970; a fraction is cut. Absent for anything
// else. What the installer's clock writes into its log and its analytics.
std::optional<std::int64_t> secondsOf(std::string_view timestamp);

} // namespace portal
