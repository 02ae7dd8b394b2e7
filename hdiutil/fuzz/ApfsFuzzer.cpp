#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/volume/ApfsMetadata.h"

#include <cstdlib>
#include <map>

// What looks for an APFS container's metadata before the library sees it. The input is any number of blocks, each
// behind its place in two bytes; all others are zeros.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t kBlock = 4096;
constexpr std::size_t kBlocks = 4096;

class Blocks final : public hdi::ByteSource {
public:
    explicit Blocks(hdi::fuzz::Input input) {
        while (!input.rest().empty()) {
            const std::size_t place = input.number(2) % kBlocks;
            blocks_[place] = input.take(kBlock);
        }
    }

    std::uint64_t size() const override { return kBlocks * kBlock; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        for (std::size_t i = 0; i < into.size(); ++i) {
            const auto block = blocks_.find(static_cast<std::size_t>((offset + i) / kBlock));
            const auto inside = static_cast<std::size_t>((offset + i) % kBlock);
            const bool isThere = block != blocks_.end() && inside < block->second.size();
            into[i] = isThere ? block->second[inside] : std::byte{0};
        }
    }

private:
    std::map<std::size_t, std::span<const std::byte>> blocks_;
};

void readAll(const hdi::ByteSourcePtr& partition) {
    const hdi::apfs::Metadata metadata = hdi::apfs::findMetadata(*partition);
    const hdi::ByteSourcePtr checked = hdi::apfs::checkedPartition(partition, metadata);
    std::vector<std::byte> block(kBlock);
    for (const auto& object : metadata.objects) {
        if (object.length > partition->size() || object.offset > partition->size() - object.length) {
            std::abort();
        }
        checked->read(object.offset, std::span(block).first(std::min(block.size(), object.length)));
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hdi;
    fuzz::allowRefusal([&] { readAll(std::make_shared<Blocks>(fuzz::Input(data, size))); });
    return 0;
}
