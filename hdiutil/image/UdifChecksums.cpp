#include "hdiutil/image/UdifChecksums.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/ParallelFor.h"
#include "hdiutil/image/RunReader.h"
#include "hdiutil/image/Sectors.h"

#include <algorithm>
#include <optional>

namespace hdi {

namespace {

constexpr std::uint64_t kPiece = PieceSums::kPiece;

std::span<std::byte> scratch(std::uint64_t size) {
    thread_local std::vector<std::byte> bytes;
    if (bytes.size() < size) {
        bytes.resize(static_cast<std::size_t>(size));
    }
    return std::span(bytes).first(static_cast<std::size_t>(size));
}

std::uint32_t crc32OfFile(const ByteSource& file, std::uint64_t offset, std::uint64_t length) {
    std::uint32_t sum = 0;
    while (length > 0) {
        const auto piece = scratch(std::min(length, kPiece));
        file.read(offset, piece);
        sum = crc32(piece, sum);
        offset += piece.size();
        length -= piece.size();
    }
    return sum;
}

std::uint32_t crc32OfRun(const ByteSource& file, const UdifRun& run) {
    const std::uint64_t size = run.sectorCount * kSectorBytes;
    if (run.type == RunType::kRaw) {
        return crc32OfFile(file, run.offset, size);
    }
    if (!isCompressed(run.type)) {
        return crc32OfZeros(size);
    }
    const auto decoded = scratch(size);
    readCompressedRun(file, run, decoded);
    return crc32(decoded);
}

std::vector<const UdifRun*> summedRuns(const std::vector<UdifTable>& tables) {
    std::vector<const UdifRun*> runs;
    for (const UdifTable& table : tables) {
        for (const UdifRun& run : table.runs) {
            if (run.type != RunType::kIgnored) {
                runs.push_back(&run);
            }
        }
    }
    return runs;
}

// `sums` are those of the table's runs but the ignored ones, and what follows them.
std::uint32_t crc32OfTable(const UdifTable& table, std::span<const std::uint32_t>& sums) {
    std::uint32_t sum = 0;
    for (const UdifRun& run : table.runs) {
        if (run.type != RunType::kIgnored) {
            sum = joinCrc32(sum, sums.front(), run.sectorCount * kSectorBytes);
            sums = sums.subspan(1);
        }
    }
    return sum;
}

void compareTables(const std::vector<UdifTable>& tables, std::span<const std::uint32_t> sums) {
    for (const UdifTable& table : tables) {
        const std::uint32_t sum = crc32OfTable(table, sums);
        if (table.checksum.crc32().value_or(sum) != sum) {
            damaged("the checksum of \"" + table.name + "\" does not match");
        }
    }
}

// Absent when one of the tables has no checksum of this kind.
std::optional<std::uint32_t> crc32OfTables(const std::vector<UdifTable>& tables) {
    std::vector<std::byte> sums(tables.size() * sizeof(std::uint32_t));
    for (std::size_t i = 0; i < tables.size(); ++i) {
        const auto sum = tables[i].checksum.crc32();
        if (!sum) {
            return std::nullopt;
        }
        storeBig(std::span(sums), i * sizeof(std::uint32_t), *sum);
    }
    return crc32(sums);
}

} // namespace

bool verifyDataChecksum(const ByteSource& file, const UdifTrailer& trailer, unsigned threads, const PieceSums* sums) {
    const auto wanted = trailer.dataChecksum.crc32();
    if (!wanted) {
        return false;
    }
    const std::uint64_t pieces = (trailer.dataLength + kPiece - 1) / kPiece;
    std::vector<std::uint32_t> found(static_cast<std::size_t>(pieces));
    const auto lengthOf = [&](std::size_t i) { return std::min(kPiece, trailer.dataLength - i * kPiece); };
    const bool isAtPieces = sums != nullptr && trailer.dataOffset == 0;
    parallelFor(found.size(), threads, [&](std::size_t i) {
        const auto known = isAtPieces && lengthOf(i) == kPiece ? sums->of(i) : std::nullopt;
        found[i] = known ? *known : crc32OfFile(file, trailer.dataOffset + i * kPiece, lengthOf(i));
    });
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        sum = joinCrc32(sum, found[i], lengthOf(i));
    }
    if (kCompareChecksums && sum != *wanted) {
        damaged("the checksum of the image's data does not match");
    }
    return true;
}

void verifyTableChecksums(const ByteSource& file, const UdifTrailer& trailer, const std::vector<UdifTable>& tables,
                          unsigned threads, const std::function<void(double)>& progress) {
    const auto runs = summedRuns(tables);
    std::vector<std::uint32_t> sums(runs.size());
    const auto after = [&](std::size_t done) {
        if (progress) {
            progress(static_cast<double>(done) / static_cast<double>(runs.size()));
        }
    };
    parallelFor(
        runs.size(), threads, [&](std::size_t i) { sums[i] = crc32OfRun(file, *runs[i]); }, after);
    if (!kCompareChecksums) {
        return;
    }
    compareTables(tables, sums);
    const auto master = trailer.masterChecksum.crc32();
    if (master && crc32OfTables(tables).value_or(*master) != *master) {
        damaged("the master checksum of the image does not match");
    }
}

} // namespace hdi
