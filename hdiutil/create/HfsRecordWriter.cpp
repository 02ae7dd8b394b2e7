#include "hdiutil/create/HfsRecordWriter.h"

#include "hdiutil/image/ByteOrder.h"

#include <algorithm>
#include <limits>
#include <span>

namespace hdi {

namespace {

constexpr std::uint32_t kLastMountedVersion = 0x31302E30; // "10.0"
constexpr std::uint32_t kClumpBytes = 65536;
constexpr std::uint32_t kTreeClumpBytes = 0x100000;

void put16(HfsBytes& bytes, std::size_t at, std::size_t value) {
    storeBig<std::uint16_t>(bytes, at, static_cast<std::uint16_t>(value));
}

void put32(HfsBytes& bytes, std::size_t at, std::uint32_t value) {
    storeBig<std::uint32_t>(bytes, at, value);
}

void putName(HfsBytes& bytes, std::size_t at, std::u16string_view name) {
    put16(bytes, at, name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        put16(bytes, at + 2 + 2 * i, name[i]);
    }
}

void putFork(HfsBytes& bytes, std::size_t at, const hfs::Fork& fork, std::uint32_t clump) {
    storeBig<std::uint64_t>(bytes, at, fork.logicalSize);
    put32(bytes, at + 8, clump);
    put32(bytes, at + 12, fork.totalBlocks);
    for (std::size_t i = 0; i < fork.extents.size(); ++i) {
        put32(bytes, at + 16 + 8 * i, fork.extents[i].start);
        put32(bytes, at + 20 + 8 * i, fork.extents[i].count);
    }
}

void putItem(HfsBytes& bytes, std::uint16_t recordType, unsigned flags, const HfsItem& item) {
    put16(bytes, 0, recordType);
    put16(bytes, 2, flags);
    put32(bytes, 8, item.id);
    put32(bytes, 12, item.created);
    put32(bytes, 16, item.modified);
    put32(bytes, 20, item.changed);
    put32(bytes, 24, item.accessed);
    put32(bytes, 32, item.owner);
    put32(bytes, 36, item.group);
    bytes[41] = std::byte{item.ownerFlags};
    put16(bytes, 42, item.mode);
    put32(bytes, 44, item.special);
}

} // namespace

std::uint32_t toHfsTime(std::time_t time) {
    const std::int64_t latest = std::numeric_limits<std::uint32_t>::max();
    const std::int64_t clamped = std::clamp<std::int64_t>(time, -hfs::kEpochOffset, latest - hfs::kEpochOffset);
    return static_cast<std::uint32_t>(clamped + hfs::kEpochOffset);
}

HfsBytes catalogKey(std::uint32_t parent, std::u16string_view name) {
    HfsBytes key(6 + 2 * name.size());
    put32(key, 0, parent);
    putName(key, 4, name);
    return key;
}

HfsBytes folderRecord(const HfsFolderItem& folder) {
    HfsBytes bytes(hfs::kFolderRecordBytes);
    putItem(bytes, hfs::kFolderRecord, folder.flags, folder);
    put32(bytes, 4, folder.valence);
    put16(bytes, 56, folder.finderFlags);
    put32(bytes, 84, folder.folderCount);
    return bytes;
}

HfsBytes fileRecord(const HfsFileItem& file) {
    HfsBytes bytes(hfs::kFileRecordBytes);
    putItem(bytes, hfs::kFileRecord, file.flags | unsigned{hfs::kThreadExistsFlag}, file);
    put32(bytes, 4, file.firstLink);
    put32(bytes, 48, file.type);
    put32(bytes, 52, file.creator);
    put16(bytes, 56, file.finderFlags);
    putFork(bytes, 88, file.data, 0);
    putFork(bytes, 168, file.resources, 0);
    return bytes;
}

HfsBytes threadRecord(bool ofFolder, std::uint32_t parent, std::u16string_view name) {
    HfsBytes bytes(10 + 2 * name.size());
    put16(bytes, 0, ofFolder ? hfs::kFolderThreadRecord : hfs::kFileThreadRecord);
    put32(bytes, 4, parent);
    putName(bytes, 8, name);
    return bytes;
}

std::uint32_t treeClump(std::uint64_t length) {
    return length <= std::uint64_t{4} * kTreeClumpBytes ? static_cast<std::uint32_t>(length) : kTreeClumpBytes;
}

HfsBytes volumeHeader(const HfsHeaderItem& header) {
    HfsBytes bytes(hfs::kHeaderBytes);
    put16(bytes, 0, header.isHfsx ? hfs::kXSignature : hfs::kPlusSignature);
    put16(bytes, 2, header.isHfsx ? 5 : 4);
    put32(bytes, 4, hfs::kUnmountedBit);
    put32(bytes, 8, kLastMountedVersion);
    put32(bytes, 16, header.created);
    put32(bytes, 20, header.created);
    put32(bytes, 28, header.created); // checked
    put32(bytes, 32, header.fileCount);
    put32(bytes, 36, header.folderCount);
    put32(bytes, 40, header.blockSize);
    put32(bytes, 44, header.totalBlocks);
    put32(bytes, 48, header.freeBlocks);
    put32(bytes, 56, kClumpBytes);
    put32(bytes, 60, kClumpBytes);
    put32(bytes, 64, header.nextId);
    put32(bytes, 68, 1);                   // how often it was written
    storeBig<std::uint64_t>(bytes, 72, 1); // MacRoman is among the encodings
    storeBig<std::uint64_t>(bytes, 104, header.volumeId);
    putFork(bytes, 112, header.allocationFile, static_cast<std::uint32_t>(header.allocationFile.logicalSize));
    putFork(bytes, 192, header.extentsFile, treeClump(header.extentsFile.logicalSize));
    putFork(bytes, 272, header.catalogFile, treeClump(header.catalogFile.logicalSize));
    putFork(bytes, 352, header.attributesFile, treeClump(header.attributesFile.logicalSize));
    return bytes;
}

} // namespace hdi
