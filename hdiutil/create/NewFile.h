#pragma once

#include "base/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace hdi {

// A file that appears under its name only when it is complete. Until then it has none, so that it goes with the process
// however that ends; where the file system cannot do that, it has another one beside it. Goes away again unless
// commit() was called. Throws ImageError kIo.
class NewFile {
public:
    explicit NewFile(std::string path);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    void append(std::span<const std::byte> bytes);
    // So many zeros, without room on the disk where its file system can do that.
    void appendHole(std::uint64_t length);
    // What was appended there before; at most as long as that.
    void overwriteBeginning(std::span<const std::byte> bytes);
    std::uint64_t size() const { return size_; }
    // With the rights that a new file of this process has.
    void commit();

private:
    void giveName();
    [[noreturn]] void fail(int error) const;

    std::string path_;
    std::string temporary_; // its name so far; empty: none
    base::Descriptor file_;
    std::uint64_t size_ = 0;
};

} // namespace hdi
