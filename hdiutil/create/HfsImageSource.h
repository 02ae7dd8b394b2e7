#pragma once

#include "hdiutil/create/HfsSourceScan.h"
#include "hdiutil/image/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace hdi {

// A volume's bytes, put together when they are asked for: from memory, from files, zeros between.
//
// Threads: read() any number at once; adding before that.
class HfsImageSource final : public ByteSource {
public:
    HfsImageSource(std::shared_ptr<const HfsSource> source, std::uint64_t size)
        : source_(std::move(source)), size_(size) {}

    // In the order of their offsets, without overlap.
    void addBytes(std::uint64_t offset, std::vector<std::byte> bytes);
    // The contents of an item of the source.
    void addFile(std::uint64_t offset, std::uint32_t item, std::uint64_t length);

    std::uint64_t size() const override { return size_; }
    // Throws ImageError as ByteSource says; kIo also for a file that is not what it was when the source was scanned.
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    class OpenFile;

    struct Segment {
        std::uint64_t offset;
        std::uint64_t length;
        std::uint32_t item;           // of a file
        std::vector<std::byte> bytes; // else
    };

    void readSegment(const Segment& segment, std::uint64_t inside, std::span<std::byte> into) const;
    std::shared_ptr<const OpenFile> open(std::uint32_t item) const;

    std::shared_ptr<const HfsSource> source_;
    std::uint64_t size_;
    std::vector<Segment> segments_;
    mutable std::mutex mutex_;
    mutable std::list<std::shared_ptr<const OpenFile>> open_; // the last used first
};

} // namespace hdi
