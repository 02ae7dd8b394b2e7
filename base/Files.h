#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// Reading and writing to the end, interruptions included. Any thread.
namespace base {

// Writes all of it to a blocking descriptor; false with errno set when that fails.
bool writeAll(int descriptor, std::string_view bytes);
bool writeAll(int descriptor, std::span<const std::byte> bytes);

// The same at a place of a file, without moving the descriptor's own.
bool writeAllAt(int descriptor, std::span<const std::byte> bytes, std::uint64_t offset);

// Reads at a place of a file until `into` is full or the file ends; the count, or -1 with errno set.
std::ptrdiff_t readAt(int descriptor, std::span<std::byte> into, std::uint64_t offset);

inline constexpr std::size_t kLargestSmallFile = std::size_t{16} * 1024 * 1024;

// A small file, such as those of /proc, whose size the kernel does not tell beforehand. Never waits for a writer.
// Absent when it cannot be read or is larger than kLargestSmallFile.
std::optional<std::string> readSmallFile(const std::string& path);

} // namespace base
