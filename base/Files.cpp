#include "base/Files.h"

#include "base/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace base {
namespace {

// Calls `write(rest, done)` until everything is done.
template <typename Write>
bool writeWith(const Write& write, std::span<const std::byte> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = write(bytes.subspan(done), done);
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace

bool writeAll(int descriptor, std::string_view bytes) {
    return writeAll(descriptor, std::as_bytes(std::span(bytes.data(), bytes.size())));
}

bool writeAll(int descriptor, std::span<const std::byte> bytes) {
    return writeWith([descriptor](std::span<const std::byte> rest,
                                  std::size_t) { return ::write(descriptor, rest.data(), rest.size()); },
                     bytes);
}

bool writeAllAt(int descriptor, std::span<const std::byte> bytes, std::uint64_t offset) {
    return writeWith(
        [descriptor, offset](std::span<const std::byte> rest, std::size_t done) {
            return ::pwrite(descriptor, rest.data(), rest.size(), static_cast<off_t>(offset + done));
        },
        bytes);
}

std::ptrdiff_t readAt(int descriptor, std::span<std::byte> into, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < into.size()) {
        const std::span<std::byte> rest = into.subspan(done);
        const ssize_t count = ::pread(descriptor, rest.data(), rest.size(), static_cast<off_t>(offset + done));
        if (count == 0) {
            break;
        }
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return static_cast<std::ptrdiff_t>(done);
}

std::optional<std::string> readSmallFile(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    std::string contents;
    std::array<char, 16384> chunk; // NOLINT: filled by read
    while (file && contents.size() <= kLargestSmallFile) {
        const ssize_t count = ::read(file.get(), chunk.data(), chunk.size());
        if (count == 0) {
            return contents;
        }
        if (count > 0) {
            contents.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            break;
        }
    }
    return std::nullopt;
}

} // namespace base
