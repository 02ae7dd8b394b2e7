#include "hdiutil/image/UdifTable.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Sectors.h"

#include <optional>

namespace hdi {

namespace {

constexpr std::uint32_t kSignature = 0x6d697368; // "mish"
constexpr std::size_t kHeaderSize = 204;
constexpr std::size_t kRunSize = 40;

bool isKnown(RunType type) {
    return type == RunType::kZero || type == RunType::kIgnored || type == RunType::kComment ||
           type == RunType::kTerminator || codecOf(type) != nullptr;
}

// What all runs of a table are checked against.
struct Bounds {
    std::uint64_t dataOffset; // of the table's data in the file
    std::uint64_t fileSize;
};

void checkStored(const UdifRun& run, const Bounds& bounds) {
    const bool stored = run.type == RunType::kRaw || isCompressed(run.type);
    if (!stored) {
        return;
    }
    if (run.offset > bounds.fileSize || run.length > bounds.fileSize - run.offset) {
        damaged("a chunk lies beyond the end of the image file");
    }
    const std::uint64_t bytes = run.sectorCount * kSectorBytes;
    if (run.type == RunType::kRaw ? run.length != bytes : bytes > kMaxRunBytes || run.length > 2 * kMaxRunBytes) {
        damaged("a chunk's length does not fit its sectors");
    }
}

// Absent for runs that hold no sectors.
std::optional<UdifRun> parseRun(std::span<const std::byte> bytes, const UdifTable& table, const Bounds& bounds) {
    UdifRun run;
    run.type = static_cast<RunType>(loadBig<std::uint32_t>(bytes, 0));
    if (!isKnown(run.type)) {
        throw ImageError(ImageError::Kind::kUnsupported, "the image holds chunks of an unknown kind");
    }
    run.sector = loadBig<std::uint64_t>(bytes, 8);
    run.sectorCount = loadBig<std::uint64_t>(bytes, 16);
    run.offset = loadBig<std::uint64_t>(bytes, 24);
    run.length = loadBig<std::uint64_t>(bytes, 32);
    if (run.type == RunType::kComment || run.type == RunType::kTerminator || run.sectorCount == 0) {
        return std::nullopt;
    }
    if (run.sector > table.sectorCount || run.sectorCount > table.sectorCount - run.sector) {
        damaged("a chunk reaches beyond its partition");
    }
    run.sector += table.firstSector;
    if (run.offset > bounds.fileSize) {
        run.offset = bounds.fileSize; // beyond it whatever is added
    }
    run.offset += bounds.dataOffset;
    checkStored(run, bounds);
    return run;
}

} // namespace

UdifTable parseUdifTable(std::span<const std::byte> bytes, std::uint64_t dataOffset, std::uint64_t fileSize,
                         std::uint64_t diskSectors) {
    if (bytes.size() < kHeaderSize || loadBig<std::uint32_t>(bytes, 0) != kSignature) {
        damaged("a chunk table has no header");
    }
    UdifTable table;
    table.firstSector = loadBig<std::uint64_t>(bytes, 8);
    table.sectorCount = loadBig<std::uint64_t>(bytes, 16);
    if (table.firstSector > diskSectors || table.sectorCount > diskSectors - table.firstSector) {
        damaged("a chunk table reaches beyond the end of the disk");
    }
    const auto tableOffset = loadBig<std::uint64_t>(bytes, 24);
    if (tableOffset > fileSize || dataOffset > fileSize) {
        damaged("a chunk table's data lie beyond the end of the image file");
    }
    table.checksum = {loadBig<std::uint32_t>(bytes, 64), loadBig<std::uint32_t>(bytes, 68),
                      loadBig<std::uint32_t>(bytes, 72)};
    const auto count = loadBig<std::uint32_t>(bytes, 200);
    if (count > (bytes.size() - kHeaderSize) / kRunSize) {
        damaged("a chunk table counts more chunks than it holds");
    }
    const Bounds bounds{dataOffset + tableOffset, fileSize};
    table.runs.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (const auto run = parseRun(bytes.subspan(kHeaderSize + i * kRunSize, kRunSize), table, bounds)) {
            table.runs.push_back(*run);
        }
    }
    return table;
}

} // namespace hdi
