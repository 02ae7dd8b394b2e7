#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/ImageError.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the tests of images share: bytes in memory, files that go away, and the kind of an error.
namespace hdi::test {

using Bytes = std::vector<std::byte>;

inline Bytes bytesOf(std::string_view text) {
    Bytes bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(), [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes noise(std::size_t size, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    Bytes bytes(size);
    for (std::byte& byte : bytes) {
        byte = static_cast<std::byte>(random());
    }
    return bytes;
}

// Like a program's text: words that come again, with some noise between them.
inline Bytes prose(std::size_t size, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const std::string_view words[] = {"folder ", "disk image ", "the ", "partition ", "e", "\n", "checksum ", "xyzzy "};
    Bytes bytes;
    while (bytes.size() < size) {
        const Bytes word = random() % 11 == 0 ? noise(5, random()) : bytesOf(words[random() % std::size(words)]);
        bytes.insert(bytes.end(), word.begin(), word.end());
    }
    bytes.resize(size);
    return bytes;
}

class MemorySource final : public ByteSource {
public:
    explicit MemorySource(Bytes bytes) : bytes_(std::move(bytes)) {}

    std::uint64_t size() const override { return bytes_.size(); }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    }

private:
    Bytes bytes_;
};

inline ByteSourcePtr inMemory(Bytes bytes) {
    return std::make_shared<MemorySource>(std::move(bytes));
}

inline Bytes readAll(const ByteSource& source) {
    Bytes all(source.size());
    source.read(0, all);
    return all;
}

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "hdiutil-test-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    std::string operator/(std::string_view name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

inline void writeFile(const std::string& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline Bytes readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return bytesOf(std::string(std::istreambuf_iterator<char>(file), {}));
}

// The kind of ImageError that `action` ends with; absent when it ends without one.
template <typename Action>
std::optional<ImageError::Kind> errorOf(Action&& action) {
    try {
        action();
    } catch (const ImageError& error) {
        return error.kind();
    }
    return std::nullopt;
}

} // namespace hdi::test
