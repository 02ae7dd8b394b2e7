#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace hdi {

inline constexpr std::size_t kGuidSize = 16;
using Guid = std::array<std::byte, kGuidSize>;

// What a GPT partition of this type holds, as in "Apple_HFS"; the GUID itself where the type is not known.
std::string gptContent(std::span<const std::byte, kGuidSize> type);

// The type of a GPT partition that holds `content`; all zeros where it is not known.
Guid gptType(std::string_view content);

} // namespace hdi
