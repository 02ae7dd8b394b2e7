#pragma once

#include <string>
#include <string_view>

namespace portal {

// Text as it may stand in HTML and in its attributes. Control characters become blanks.
std::string escaped(std::string_view text);

} // namespace portal
