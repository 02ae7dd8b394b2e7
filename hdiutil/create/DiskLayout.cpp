#include "hdiutil/create/DiskLayout.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/JoinedSource.h"
#include "hdiutil/image/Sectors.h"
#include "hdiutil/partition/GptTypes.h"

#include <algorithm>
#include <array>
#include <utility>

namespace hdi {

namespace {

using Bytes = std::vector<std::byte>;

[[noreturn]] void unsupported(const char* message) {
    throw ImageError(ImageError::Kind::kUnsupported, message);
}

// Partitions begin and end at multiples of this, as blocks of file systems do.
constexpr std::uint64_t kAlignment = 8; // sectors

std::uint64_t aligned(std::uint64_t sectors) {
    return (sectors + kAlignment - 1) / kAlignment * kAlignment;
}

void storeText(Bytes& bytes, std::size_t offset, std::string_view text) {
    std::transform(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                   [](char c) { return static_cast<std::byte>(c); });
}

// A GUID (RFC 4122, version 4) that follows from `bytes` and `salt`.
Guid guidFrom(std::span<const std::byte> bytes, std::uint32_t salt) {
    Guid guid{};
    for (std::size_t i = 0; i < 4; ++i) {
        salt = crc32(bytes, salt + static_cast<std::uint32_t>(i));
        storeLittle<std::uint32_t>(guid, 4 * i, salt);
    }
    guid[7] = (guid[7] & std::byte{0x0f}) | std::byte{0x40};
    guid[8] = (guid[8] & std::byte{0x3f}) | std::byte{0x80};
    return guid;
}

Bytes beginningOf(const ByteSource& source) {
    Bytes bytes(static_cast<std::size_t>(std::min<std::uint64_t>(source.size(), 64 * kSectorBytes)));
    source.read(0, bytes);
    return bytes;
}

// Where the parts of a GPT disk lie, in sectors.
struct GptPlan {
    static constexpr std::uint64_t kTableSectors = 32;
    static constexpr std::uint32_t kEntries = 128;
    static constexpr std::uint32_t kEntrySize = 128;
    static constexpr std::uint64_t kFirstUsable = 2 + kTableSectors;

    std::uint64_t first;  // of the partition
    std::uint64_t length; // of the partition
    std::uint64_t backupTable;
    std::uint64_t sectors; // in all
};

GptPlan planGpt(std::uint64_t sectors) {
    const std::uint64_t first = aligned(GptPlan::kFirstUsable);
    const std::uint64_t backup = aligned(first + sectors);
    return {first, sectors, backup, backup + GptPlan::kTableSectors + 1};
}

Bytes gptTable(const GptPlan& plan, const Guid& type, const Guid& identifier) {
    constexpr std::string_view kName = "disk image";
    Bytes table(std::size_t{GptPlan::kEntries} * GptPlan::kEntrySize);
    std::copy(type.begin(), type.end(), table.begin());
    std::copy(identifier.begin(), identifier.end(), table.begin() + kGuidSize);
    storeLittle<std::uint64_t>(table, 32, plan.first);
    storeLittle<std::uint64_t>(table, 40, plan.first + plan.length - 1);
    for (std::size_t i = 0; i < kName.size(); ++i) {
        storeLittle<std::uint16_t>(table, 56 + 2 * i, static_cast<std::uint16_t>(kName[i]));
    }
    return table;
}

Bytes gptHeader(const GptPlan& plan, const Bytes& table, const Guid& disk, bool backup) {
    constexpr std::uint32_t kHeaderSize = 92;
    const std::uint64_t last = plan.sectors - 1;
    Bytes header(kSectorBytes);
    storeText(header, 0, "EFI PART");
    storeLittle<std::uint32_t>(header, 8, 0x00010000);
    storeLittle<std::uint32_t>(header, 12, kHeaderSize);
    storeLittle<std::uint64_t>(header, 24, backup ? last : 1);
    storeLittle<std::uint64_t>(header, 32, backup ? 1 : last);
    storeLittle<std::uint64_t>(header, 40, GptPlan::kFirstUsable);
    storeLittle<std::uint64_t>(header, 48, plan.backupTable - 1);
    std::copy(disk.begin(), disk.end(), header.begin() + 56);
    storeLittle<std::uint64_t>(header, 72, backup ? plan.backupTable : 2);
    storeLittle<std::uint32_t>(header, 80, GptPlan::kEntries);
    storeLittle<std::uint32_t>(header, 84, GptPlan::kEntrySize);
    storeLittle<std::uint32_t>(header, 88, crc32(table));
    storeLittle<std::uint32_t>(header, 16, crc32(std::span(header).first(kHeaderSize)));
    return header;
}

// Tells tools that know no GPT that the disk is full.
Bytes protectiveMbr(const GptPlan& plan) {
    Bytes mbr(kSectorBytes);
    constexpr std::array<std::uint8_t, 8> kEntry = {0x00, 0xff, 0xff, 0xff, 0xee, 0xff, 0xff, 0xff};
    std::transform(kEntry.begin(), kEntry.end(), mbr.begin() + 446, [](std::uint8_t b) { return std::byte{b}; });
    storeLittle<std::uint32_t>(mbr, 454, 1);
    storeLittle<std::uint32_t>(mbr, 458,
                               static_cast<std::uint32_t>(std::min<std::uint64_t>(plan.sectors - 1, UINT32_MAX)));
    storeBig<std::uint16_t>(mbr, 510, 0x55aa);
    return mbr;
}

// Names the ranges in the order of the disk, as macOS's own images do.
class RangeList {
public:
    void add(const std::string& what, const std::string& type, std::uint64_t sectors) {
        if (sectors > 0) {
            ranges_.push_back({what + " (" + type + " : " + std::to_string(ranges_.size()) + ")", next_, sectors});
            next_ += sectors;
        }
    }

    std::vector<DiskRange> take() { return std::move(ranges_); }

private:
    std::vector<DiskRange> ranges_;
    std::uint64_t next_ = 0;
};

std::vector<DiskRange> gptRanges(const GptPlan& plan, const std::string& content) {
    RangeList ranges;
    ranges.add("Protective Master Boot Record", "MBR", 1);
    ranges.add("GPT Header", "Primary GPT Header", 1);
    ranges.add("GPT Partition Data", "Primary GPT Table", GptPlan::kTableSectors);
    ranges.add("", "Apple_Free", plan.first - GptPlan::kFirstUsable);
    ranges.add("disk image", content, plan.length);
    ranges.add("", "Apple_Free", plan.backupTable - plan.first - plan.length);
    ranges.add("GPT Partition Data", "Backup GPT Table", GptPlan::kTableSectors);
    ranges.add("GPT Header", "Backup GPT Header", 1);
    return ranges.take();
}

NewDisk layOutGpt(const ByteSourcePtr& fileSystem, const std::string& content) {
    const Guid type = gptType(content);
    if (type == Guid{}) {
        unsupported("there is no partition type for this content");
    }
    const GptPlan plan = planGpt(fileSystem->size() / kSectorBytes);
    const Bytes beginning = beginningOf(*fileSystem);
    const Bytes table = gptTable(plan, type, guidFrom(beginning, 1));
    const Guid disk = guidFrom(beginning, 2);
    JoinedSource joined;
    joined.append(protectiveMbr(plan));
    joined.append(gptHeader(plan, table, disk, false));
    joined.append(table);
    joined.appendZeros((plan.first - GptPlan::kFirstUsable) * kSectorBytes);
    joined.append(fileSystem);
    joined.appendZeros((plan.backupTable - plan.first - plan.length) * kSectorBytes);
    joined.append(table);
    joined.append(gptHeader(plan, table, disk, true));
    return {std::make_shared<JoinedSource>(std::move(joined)), gptRanges(plan, content)};
}

constexpr std::uint32_t kApmMapSectors = 63;
constexpr std::uint32_t kApmEntries = 2;

Bytes apmEntry(std::uint32_t start, std::uint32_t length, std::string_view name, std::string_view type) {
    // Valid, allocated, in use, readable and writable; the map's own entry has the same.
    constexpr std::uint32_t kStatus = 0x00000033;
    Bytes entry(kSectorBytes);
    storeText(entry, 0, "PM");
    storeBig<std::uint32_t>(entry, 4, kApmEntries);
    storeBig<std::uint32_t>(entry, 8, start);
    storeBig<std::uint32_t>(entry, 12, length);
    storeText(entry, 16, name);
    storeText(entry, 48, type);
    storeBig<std::uint32_t>(entry, 84, length); // data area
    storeBig<std::uint32_t>(entry, 88, kStatus);
    return entry;
}

Bytes driverDescriptor(std::uint32_t sectors) {
    Bytes block(kSectorBytes);
    storeText(block, 0, "ER");
    storeBig<std::uint16_t>(block, 2, kSectorBytes);
    storeBig<std::uint32_t>(block, 4, sectors);
    return block;
}

NewDisk layOutApm(const ByteSourcePtr& fileSystem, const std::string& content) {
    const std::uint64_t length = fileSystem->size() / kSectorBytes;
    const std::uint64_t first = 1 + kApmMapSectors;
    if (first + length > UINT32_MAX || content.empty() || content.size() > 31) {
        unsupported("the file system does not fit an Apple partition map");
    }
    JoinedSource joined;
    joined.append(driverDescriptor(static_cast<std::uint32_t>(first + length)));
    joined.append(apmEntry(1, kApmMapSectors, "Apple", "Apple_partition_map"));
    joined.append(
        apmEntry(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(length), "disk image", content));
    joined.appendZeros((kApmMapSectors - kApmEntries) * kSectorBytes);
    joined.append(fileSystem);
    RangeList ranges;
    ranges.add("Driver Descriptor Map", "DDM", 1);
    ranges.add("Apple", "Apple_partition_map", kApmMapSectors);
    ranges.add("disk image", content, length);
    return {std::make_shared<JoinedSource>(std::move(joined)), ranges.take()};
}

} // namespace

std::optional<Layout> diskLayout(std::string_view name) {
    if (name == "GPTSPUD") {
        return Layout::kGpt;
    }
    if (name == "SPUD") {
        return Layout::kApm;
    }
    return name == "NONE" ? std::optional(Layout::kNone) : std::nullopt;
}

NewDisk layOut(ByteSourcePtr fileSystem, Layout layout, const std::string& content) {
    if (fileSystem->size() == 0 || fileSystem->size() % kSectorBytes != 0 ||
        fileSystem->size() / kSectorBytes > kMaxSectors / 2) {
        unsupported("the file system is not a whole number of sectors");
    }
    switch (layout) {
    case Layout::kGpt:
        return layOutGpt(fileSystem, content);
    case Layout::kApm:
        return layOutApm(fileSystem, content);
    case Layout::kNone:
        break;
    }
    RangeList ranges;
    ranges.add("whole disk", content, fileSystem->size() / kSectorBytes);
    return {std::move(fileSystem), ranges.take()};
}

} // namespace hdi
