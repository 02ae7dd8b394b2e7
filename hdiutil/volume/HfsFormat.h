#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace hdi {

// The fixed structures of an HFS+ or HFSX volume, shared by the reader and the writer. All numbers are big-endian.
//
// Facts: Apple Technical Note TN1150, "HFS Plus Volume Format"; the flags of hard-link chains and compressed files from
// the published header hfs_format.h.
namespace hfs {

inline constexpr std::uint64_t kHeaderOffset = 1024;
inline constexpr std::size_t kHeaderBytes = 512;
inline constexpr std::uint16_t kPlusSignature = 0x482B;    // "H+"
inline constexpr std::uint16_t kXSignature = 0x4858;       // "HX"
inline constexpr std::uint16_t kWrapperSignature = 0x4244; // "BD", the older HFS
inline constexpr std::uint32_t kUnmountedBit = 0x100;
inline constexpr std::uint32_t kJournaledBit = 0x2000;

inline constexpr std::uint32_t kRootParentId = 1;
inline constexpr std::uint32_t kRootFolderId = 2;
inline constexpr std::uint32_t kExtentsFileId = 3;
inline constexpr std::uint32_t kCatalogFileId = 4;
inline constexpr std::uint32_t kAllocationFileId = 6;
inline constexpr std::uint32_t kAttributesFileId = 8;
inline constexpr std::uint32_t kFirstUserId = 16;

inline constexpr std::uint16_t kFolderRecord = 1;
inline constexpr std::uint16_t kFileRecord = 2;
inline constexpr std::uint16_t kFolderThreadRecord = 3;
inline constexpr std::uint16_t kFileThreadRecord = 4;
inline constexpr std::size_t kFolderRecordBytes = 88;
inline constexpr std::size_t kFileRecordBytes = 248;
inline constexpr std::size_t kMaxNameUnits = 255;

inline constexpr std::uint16_t kThreadExistsFlag = 0x0002;
inline constexpr std::uint16_t kFolderCountFlag = 0x0010;
inline constexpr std::uint16_t kLinkChainFlag = 0x0020;
inline constexpr std::uint8_t kCompressedOwnerFlag = 0x20;

inline constexpr std::uint32_t kFileLinkType = 0x686C6E6B;      // 'hlnk'
inline constexpr std::uint32_t kFileLinkCreator = 0x6866732B;   // 'hfs+'
inline constexpr std::uint32_t kFolderLinkType = 0x66647270;    // 'fdrp'
inline constexpr std::uint32_t kFolderLinkCreator = 0x4D414353; // 'MACS'
inline constexpr std::uint32_t kJournalType = 0x6A726E6C;       // 'jrnl'
inline constexpr std::uint32_t kSymlinkType = 0x736C6E6B;       // 'slnk'
inline constexpr std::uint32_t kSymlinkCreator = 0x72686170;    // 'rhap'

inline constexpr char16_t kFileLinkFolder[] = u"\0\0\0\0HFS+ Private Data";
inline constexpr std::size_t kFileLinkFolderUnits = 21;
inline constexpr char16_t kFolderLinkFolder[] = u".HFS+ Private Directory Data\r";

// Seconds between 1904, where the format's dates begin, and 1970.
inline constexpr std::int64_t kEpochOffset = 2082844800;

inline constexpr std::uint8_t kCaseFoldingCompare = 0xCF;
inline constexpr std::uint8_t kBinaryCompare = 0xBC;

inline constexpr std::uint8_t kLeafNode = 0xFF;
inline constexpr std::uint8_t kIndexNode = 0;
inline constexpr std::uint8_t kHeaderNode = 1;
inline constexpr std::uint8_t kMapNode = 2;
inline constexpr std::size_t kNodeDescriptorBytes = 14;
inline constexpr std::size_t kTreeHeaderBytes = 106;

// A run of allocation blocks.
struct Extent {
    std::uint32_t start = 0;
    std::uint32_t count = 0;
};

using ExtentRecord = std::array<Extent, 8>;

struct Fork {
    std::uint64_t logicalSize = 0; // bytes
    std::uint32_t totalBlocks = 0;
    ExtentRecord extents{};
};

inline constexpr std::size_t kForkBytes = 80;
inline constexpr std::size_t kExtentRecordBytes = 64;

struct VolumeHeader {
    std::uint16_t signature = 0;
    std::uint32_t attributes = 0;
    std::uint32_t createDate = 0;
    std::uint32_t blockSize = 0;
    std::uint32_t totalBlocks = 0;
    std::uint32_t freeBlocks = 0;
    Fork extentsFile, catalogFile, attributesFile;
};

// The first 64 bytes at `at`.
ExtentRecord parseExtentRecord(std::span<const std::byte> bytes, std::size_t at);
// The first 80 bytes at `at`.
Fork parseFork(std::span<const std::byte> bytes, std::size_t at);
// Absent when the 512 bytes carry another signature. Throws ImageError (kDamaged) for a block size that cannot be.
std::optional<VolumeHeader> parseVolumeHeader(std::span<const std::byte> bytes);

} // namespace hfs
} // namespace hdi
