#include "hdiutil/image/DiskImage.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/volume/HfsBuilder.h"
#include "hdiutil/tests/volume/Packers.h"
#include "hdiutil/tests/volume/VolumeTree.h"
#include "hdiutil/volume/Volume.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace hdi::test {
namespace {

// Several readers at once, as FUSE has them.
void expectSameFromManyThreads(const Volume& volume) {
    const Tree expected = readTree(volume);
    std::atomic<int> differing = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5; ++round) {
                if (readTree(volume) != expected) {
                    ++differing;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differing, 0);
}

TEST(VolumeThreads, ReadHfsPlusSideBySide) {
    HfsBuilder builder;
    builder.fragment(3);
    for (char16_t i = 0; i < 40; ++i) {
        const Bytes contents = prose(100'000, i);
        builder.file(2, u"plain " + std::u16string(1, u'A' + i), contents);
        builder.compressed(2, u"packed " + std::u16string(1, u'A' + i), 8, contents.size(), {},
                           offsetFork(contents, std::byte{6}, packLzvn));
    }
    expectSameFromManyThreads(*openVolumes(inMemory(builder.build())).at(0));
}

TEST(VolumeThreads, ReadApfsSideBySide) {
    const auto image = DiskImage::open(std::string(TEST_IMAGES) + "/apfs-gpt-zlib-one-file.dmg");
    for (const Partition& partition : readPartitionMap(*image->disk()).partitions) {
        for (const auto& volume : openVolumes(slice(image->disk(), partition.offset, partition.length))) {
            expectSameFromManyThreads(*volume);
        }
    }
}

} // namespace
} // namespace hdi::test
