#include "hdiutil/create/UdifWriter.h"

#include "hdiutil/create/ChunkEncoder.h"
#include "hdiutil/create/ImageOutput.h"
#include "hdiutil/create/LicenceResources.h"
#include "hdiutil/create/OrderedWork.h"
#include "hdiutil/create/UdifParts.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Sectors.h"

#include <algorithm>
#include <utility>

namespace hdi {

namespace {

// What becomes one chunk.
struct Piece {
    std::size_t table = 0;
    std::uint64_t sector = 0;
    std::uint64_t sectorCount = 0;
};

struct PackedPiece {
    EncodedChunk chunk;
    std::uint32_t rawChecksum = 0;
    std::uint32_t storedChecksum = 0;
};

UdifChecksum checksumOf(std::uint32_t value) {
    return {UdifChecksum::kCrc32, 32, value};
}

// A file system says at the very beginning of its partition what it is. That is a small chunk of its own: who mounts
// the image waits for it, but not for the contents behind it.
constexpr std::uint64_t kFirstSectors = 32;

std::vector<Piece> piecesOf(const std::vector<DiskRange>& ranges, std::uint64_t chunkLength) {
    std::vector<Piece> pieces;
    for (std::size_t table = 0; table < ranges.size(); ++table) {
        const DiskRange& range = ranges[table];
        for (std::uint64_t done = 0; done < range.sectorCount;) {
            const std::uint64_t wanted = done == 0 ? kFirstSectors : chunkLength;
            const std::uint64_t length = std::min(wanted, range.sectorCount - done);
            pieces.push_back({table, range.firstSector + done, length});
            done += length;
        }
    }
    return pieces;
}

PackedPiece pack(const ByteSource& disk, const Piece& piece, RunType format) {
    thread_local std::vector<std::byte> raw;
    raw.resize(static_cast<std::size_t>(piece.sectorCount * kSectorBytes));
    disk.read(piece.sector * kSectorBytes, raw);
    PackedPiece packed;
    packed.chunk = encodeChunk(format, raw);
    packed.rawChecksum = crc32(raw);
    packed.storedChecksum = crc32(packed.chunk.stored);
    return packed;
}

// Collects what the tables say while the pieces come in.
class TableBuilder {
public:
    explicit TableBuilder(const std::vector<DiskRange>& ranges) {
        for (const DiskRange& range : ranges) {
            tables_.push_back({range.name, range.firstSector, range.sectorCount, checksumOf(0), {}});
        }
    }

    void add(const Piece& piece, const PackedPiece& packed, std::uint64_t offset) {
        UdifTable& table = tables_[piece.table];
        table.checksum.value = joinCrc32(table.checksum.value, packed.rawChecksum, piece.sectorCount * kSectorBytes);
        const bool zero = packed.chunk.type == RunType::kZero;
        if (zero && !table.runs.empty() && table.runs.back().type == RunType::kZero) {
            table.runs.back().sectorCount += piece.sectorCount;
            return;
        }
        table.runs.push_back({packed.chunk.type, piece.sector, piece.sectorCount, offset, packed.chunk.stored.size()});
    }

    std::uint32_t masterChecksum() const {
        std::vector<std::byte> sums(tables_.size() * sizeof(std::uint32_t));
        for (std::size_t i = 0; i < tables_.size(); ++i) {
            storeBig(std::span(sums), i * sizeof(std::uint32_t), tables_[i].checksum.value);
        }
        return crc32(sums);
    }

    std::vector<std::byte> plist(std::uint64_t chunkLength, const std::string& licence) const {
        std::vector<std::vector<std::byte>> blocks;
        std::vector<std::string> names;
        for (const UdifTable& table : tables_) {
            blocks.push_back(udifTableBytes(table, blocks.size(), chunkLength));
            names.push_back(table.name);
        }
        return udifPlistBytes(blocks, names, licence.empty() ? Resources() : licenceResources(licence));
    }

private:
    std::vector<UdifTable> tables_;
};

// Returns the checksum of all that was stored.
std::uint32_t writeData(const ByteSource& disk, const std::vector<Piece>& pieces, const WriteOptions& options,
                        TableBuilder& tables, ImageOutput& file) {
    OrderedWork<PackedPiece> work(pieces.size(), options.threads,
                                  [&](std::size_t i) { return pack(disk, pieces[i], options.format); });
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const PackedPiece packed = work.take();
        tables.add(pieces[i], packed, file.size());
        file.append(packed.chunk.stored);
        sum = joinCrc32(sum, packed.storedChecksum, packed.chunk.stored.size());
        if (options.progress) {
            options.progress(static_cast<double>(i + 1) / static_cast<double>(pieces.size()));
        }
    }
    return sum;
}

} // namespace

void writeUdif(const ByteSource& disk, const std::vector<DiskRange>& ranges, const std::string& path,
               const WriteOptions& options) {
    if (disk.size() % kSectorBytes != 0) {
        throw ImageError(ImageError::Kind::kUnsupported, "the disk is not a whole number of sectors");
    }
    const std::uint64_t chunkLength = codecOf(options.format)->chunkSectors;
    const std::unique_ptr<ImageOutput> output = newImageOutput(path, options.encryption);
    ImageOutput& file = *output;
    TableBuilder tables(ranges);
    UdifTrailer trailer;
    trailer.dataChecksum = checksumOf(writeData(disk, piecesOf(ranges, chunkLength), options, tables, file));
    trailer.dataLength = file.size();
    trailer.plistOffset = file.size();
    file.append(tables.plist(chunkLength, options.licence));
    trailer.plistLength = file.size() - trailer.plistOffset;
    trailer.masterChecksum = checksumOf(tables.masterChecksum());
    trailer.sectorCount = disk.size() / kSectorBytes;
    file.append(udifTrailerBytes(trailer));
    file.commit();
}

} // namespace hdi
