#include "hdiutil/volume/ApfsVolumes.h"

#include <array>
#include <cstring>

namespace hdi {

namespace {

// Facts: Apple, "Apple File System Reference", "nx_superblock_t".
bool isContainer(const ByteSource& partition) {
    std::array<std::byte, 4096> block{};
    if (partition.size() < block.size()) {
        return false;
    }
    partition.read(0, block);
    return std::memcmp(block.data() + 32, "NXSB", 4) == 0;
}

} // namespace

std::vector<std::unique_ptr<Volume>> openApfsVolumes(const ByteSourcePtr& partition) {
    std::vector<std::unique_ptr<Volume>> volumes;
    if (isContainer(*partition)) {
        static const ApfsEntryPoint kOpen = findApfsEntryPoint();
        kOpen(partition, volumes);
    }
    return volumes;
}

} // namespace hdi
