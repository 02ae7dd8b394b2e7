#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/partition/PartitionMap.h"

#include <array>
#include <cstdlib>

// The partition maps. The input is the beginning of a disk and, behind a length of two bytes, its end, so that both
// maps of a GPT are within reach; zeros lie between.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void readAll(const hdi::ByteSourcePtr& disk) {
    const hdi::PartitionMap map = hdi::readPartitionMap(*disk);
    for (const hdi::Partition& partition : map.partitions) {
        const auto part = hdi::slice(disk, partition.offset, partition.length);
        std::array<std::byte, 16> bytes;
        const auto some = std::span(bytes).first(std::min<std::size_t>(bytes.size(), part->size()));
        part->read(part->size() - some.size(), some);
        if (partition.offset > disk->size() || partition.content.size() > 64) {
            std::abort();
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hdi;
    fuzz::Input input(data, size);
    const std::size_t gap = input.number(1) * 512;
    const auto end = input.take(input.number(2));
    const auto beginning = input.rest();
    std::vector<std::byte> disk(beginning.begin(), beginning.end());
    disk.resize(disk.size() + gap);
    disk.insert(disk.end(), end.begin(), end.end());
    fuzz::allowRefusal([&] { readAll(fuzz::sourceOf(disk)); });
    return 0;
}
