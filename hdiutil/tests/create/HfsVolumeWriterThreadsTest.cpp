#include "hdiutil/create/HfsVolumeWriter.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace hdi::test {
namespace {

TEST(HfsVolumeWriterThreads, ReadTheSameBytesSideBySide) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "source");
    for (int i = 0; i < 60; ++i) {
        writeFile(folder / ("source/" + std::to_string(i)), noise(3000, static_cast<std::uint64_t>(i)));
    }
    const ByteSourcePtr image = createHfsPlus(folder / "source", "V", HfsKind::kPlus);
    const Bytes whole = readAll(*image);
    std::vector<std::thread> threads;
    std::atomic<int> differing = 0;
    for (std::uint64_t seed = 0; seed < 4; ++seed) {
        threads.emplace_back([&, seed] {
            std::mt19937_64 random(seed);
            Bytes part(16384);
            for (int i = 0; i < 300; ++i) {
                const std::size_t offset = random() % (whole.size() - part.size());
                image->read(offset, part);
                if (!std::equal(part.begin(), part.end(), whole.begin() + static_cast<std::ptrdiff_t>(offset))) {
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

} // namespace
} // namespace hdi::test
