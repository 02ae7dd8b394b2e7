#include "hdiutil/image/ChunkedDisk.h"
#include "hdiutil/image/Sectors.h"
#include "hdiutil/image/UdifTable.h"
#include "hdiutil/tests/image/TestImage.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

constexpr std::uint64_t kFile = 100000;
constexpr std::uint64_t kDisk = 5000; // sectors

UdifTable tableOf(const std::vector<UdifRun>& runs) {
    return {"t", 100, 1000, {2, 32, 7}, runs};
}

UdifRun run(RunType type, std::uint64_t sector, std::uint64_t count, std::uint64_t offset, std::uint64_t length) {
    return {type, sector, count, offset, length};
}

UdifTable parsed(const UdifTable& table) {
    return parseUdifTable(udifTableBytes(table, 0, 2048), 0, kFile, kDisk);
}

auto errorOfTable(const UdifTable& table) {
    return errorOf([&] { parsed(table); });
}

auto errorOfRun(const UdifRun& run) {
    return errorOfTable(tableOf({run}));
}

constexpr auto kDamaged = ImageError::Kind::kDamaged;

} // namespace

TEST(UdifTable, GivesRunsOfTheDiskAndTheFile) {
    const auto bytes = udifTableBytes(tableOf({run(RunType::kZlib, 110, 16, 50, 60)}), 0, 2048);
    const UdifTable table = parseUdifTable(bytes, 1000, kFile, kDisk);
    EXPECT_EQ(table.firstSector, 100U);
    EXPECT_EQ(table.sectorCount, 1000U);
    EXPECT_EQ(table.checksum.crc32(), 7U);
    ASSERT_EQ(table.runs.size(), 1U) << "without the terminator";
    EXPECT_EQ(table.runs[0].type, RunType::kZlib);
    EXPECT_EQ(table.runs[0].sector, 110U);
    EXPECT_EQ(table.runs[0].sectorCount, 16U);
    EXPECT_EQ(table.runs[0].offset, 1050U);
    EXPECT_EQ(table.runs[0].length, 60U);
}

TEST(UdifTable, AddsItsOwnOffset) {
    auto bytes = udifTableBytes(tableOf({run(RunType::kZlib, 110, 16, 50, 60)}), 0, 2048);
    storeBig<std::uint64_t>(bytes, 24, 3000);
    EXPECT_EQ(parseUdifTable(bytes, 1000, kFile, kDisk).runs.at(0).offset, 4050U);
}

TEST(UdifTable, LeavesCommentsAndEmptyRunsOut) {
    const auto table = tableOf({run(RunType::kComment, 100, 99, UINT64_MAX, UINT64_MAX),
                                run(RunType::kRaw, 100, 0, UINT64_MAX, 0), run(RunType::kZero, 100, 5, 0, 0)});
    EXPECT_EQ(parsed(table).runs.size(), 1U);
}

TEST(UdifTable, RefusesRunsOutsideTheirTableOrFile) {
    EXPECT_EQ(errorOfRun(run(RunType::kZero, 100, 1000, 0, 0)), std::nullopt);
    EXPECT_EQ(errorOfRun(run(RunType::kZero, 100, 1001, 0, 0)), kDamaged);
    EXPECT_EQ(errorOfRun(run(RunType::kZero, 1101, 1, 0, 0)), kDamaged);
    EXPECT_EQ(errorOfRun(run(RunType::kZero, 99, 2, 0, 0)), kDamaged);
    EXPECT_EQ(errorOfRun(run(RunType::kZero, 101, UINT64_MAX, 0, 0)), kDamaged);
    EXPECT_EQ(errorOfRun(run(RunType::kZlib, 100, 8, kFile - 9, 9)), std::nullopt);
    EXPECT_EQ(errorOfRun(run(RunType::kZlib, 100, 8, kFile - 9, 10)), kDamaged);
    EXPECT_EQ(errorOfRun(run(RunType::kZlib, 100, 8, UINT64_MAX, 10)), kDamaged);
    EXPECT_EQ(errorOfRun(run(RunType::kZlib, 100, 8, 10, UINT64_MAX)), kDamaged);
}

TEST(UdifTable, RefusesRunsWhoseLengthDoesNotFit) {
    EXPECT_EQ(errorOfRun(run(RunType::kRaw, 100, 8, 0, std::size_t{8} * 512)), std::nullopt);
    EXPECT_EQ(errorOfRun(run(RunType::kRaw, 100, 8, 0, std::size_t{8} * 512 - 1)), kDamaged);
    UdifTable bomb{"t", 0, kMaxSectors, {}, {run(RunType::kZlib, 0, kMaxRunBytes / 512 + 1, 0, 10)}};
    EXPECT_EQ(errorOf([&] { parseUdifTable(udifTableBytes(bomb, 0, 2048), 0, kFile, kMaxSectors); }), kDamaged);
}

TEST(UdifTable, RefusesUnknownKindsOfRuns) {
    EXPECT_EQ(errorOfRun(run(static_cast<RunType>(0x80000009), 100, 1, 0, 1)), ImageError::Kind::kUnsupported);
}

TEST(UdifTable, RefusesTablesThatDoNotFit) {
    const Bytes good = udifTableBytes(tableOf({}), 0, 2048);
    const auto changed = [&good](std::size_t offset, auto value) {
        Bytes bytes = good;
        storeBig(std::span(bytes), offset, value);
        return errorOf([&] { parseUdifTable(bytes, 0, kFile, kDisk); });
    };
    EXPECT_EQ(changed(0, std::uint32_t{0x6d697368}), std::nullopt);
    EXPECT_EQ(changed(0, std::uint32_t{0x6d697369}), kDamaged) << "signature";
    EXPECT_EQ(changed(8, std::uint64_t{4001}), kDamaged) << "end of the disk";
    EXPECT_EQ(changed(16, UINT64_MAX), kDamaged) << "end of the disk";
    EXPECT_EQ(changed(24, UINT64_MAX), kDamaged) << "end of the file";
    EXPECT_EQ(changed(200, std::uint32_t{2}), kDamaged) << "count";
    EXPECT_EQ(changed(200, UINT32_MAX), kDamaged) << "count";
    for (std::size_t size = 0; size < good.size(); ++size) {
        const std::span<const std::byte> part = std::span(good).first(size);
        EXPECT_EQ(errorOf([&] { parseUdifTable(part, 0, kFile, kDisk); }), kDamaged) << size;
    }
}

TEST(OrderedRuns, ComeInTheOrderOfTheDisk) {
    const auto runs =
        orderedRuns({{"b", 0, 0, {}, {run(RunType::kZero, 50, 10, 0, 0)}},
                     {"a", 0, 0, {}, {run(RunType::kRaw, 40, 10, 0, 0), run(RunType::kZlib, 0, 40, 0, 0)}}});
    ASSERT_EQ(runs.size(), 3U);
    EXPECT_EQ(runs[0].sector, 0U);
    EXPECT_EQ(runs[1].sector, 40U);
    EXPECT_EQ(runs[2].sector, 50U);
}

TEST(OrderedRuns, MayNotOverlap) {
    const UdifTable a{"a", 0, 0, {}, {run(RunType::kZero, 0, 11, 0, 0)}};
    const UdifTable b{"b", 0, 0, {}, {run(RunType::kZero, 10, 10, 0, 0)}};
    EXPECT_EQ(errorOf([&] { orderedRuns({a, b}); }), kDamaged);
    EXPECT_EQ(errorOf([&] { orderedRuns({b, a}); }), kDamaged);
    EXPECT_EQ(errorOf([&] { orderedRuns({b, b}); }), kDamaged);
}

} // namespace hdi::test
