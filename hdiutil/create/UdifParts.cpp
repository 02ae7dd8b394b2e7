#include "hdiutil/create/UdifParts.h"

#include "base/PropertyListParser.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

namespace hdi {

namespace {

constexpr std::size_t kTableHeader = 204;
constexpr std::size_t kRunSize = 40;
constexpr std::uint32_t kTableVersion = 1;
constexpr std::uint32_t kTrailerVersion = 4;
constexpr std::uint32_t kDeviceImage = 1;
// Decoders ask for this much room besides a chunk.
constexpr std::uint32_t kSpareSectors = 8;

void storeSignature(std::span<std::byte> bytes, const char* signature) {
    std::transform(signature, signature + 4, bytes.begin(), [](char c) { return static_cast<std::byte>(c); });
}

void storeChecksum(std::span<std::byte> bytes, std::size_t offset, const UdifChecksum& checksum) {
    storeBig<std::uint32_t>(bytes, offset, checksum.type);
    storeBig<std::uint32_t>(bytes, offset + 4, checksum.bits);
    storeBig<std::uint32_t>(bytes, offset + 8, checksum.value);
}

void storeRun(std::span<std::byte> bytes, const UdifRun& run, std::uint64_t firstSector) {
    storeBig<std::uint32_t>(bytes, 0, static_cast<std::uint32_t>(run.type));
    storeBig<std::uint64_t>(bytes, 8, run.sector - firstSector);
    storeBig<std::uint64_t>(bytes, 16, run.sectorCount);
    storeBig<std::uint64_t>(bytes, 24, run.offset);
    storeBig<std::uint64_t>(bytes, 32, run.length);
}

UdifRun terminator(const UdifTable& table) {
    UdifRun end;
    end.type = RunType::kTerminator;
    end.sector = table.firstSector + table.sectorCount;
    end.offset = table.runs.empty() ? 0 : table.runs.back().offset + table.runs.back().length;
    return end;
}

// Tables and other resources differ in an attribute, and in that only tables have the longer name.
plist_t resourceEntry(const std::vector<std::byte>& data, const std::string& name, long id, bool isTable) {
    plist_t entry = plist_new_dict();
    plist_dict_set_item(entry, "Attributes", plist_new_string(isTable ? "0x0050" : "0x0000"));
    if (isTable) {
        plist_dict_set_item(entry, "CFName", plist_new_string(name.c_str()));
    }
    plist_dict_set_item(entry, "Data", plist_new_data(reinterpret_cast<const char*>(data.data()), data.size()));
    plist_dict_set_item(entry, "ID", plist_new_string(std::to_string(id).c_str()));
    plist_dict_set_item(entry, "Name", plist_new_string(name.c_str()));
    return entry;
}

} // namespace

std::vector<std::byte> udifTableBytes(const UdifTable& table, std::size_t number, std::uint64_t chunkSectors) {
    const std::size_t count = table.runs.size() + 1;
    std::vector<std::byte> bytes(kTableHeader + count * kRunSize);
    storeSignature(bytes, "mish");
    storeBig<std::uint32_t>(bytes, 4, kTableVersion);
    storeBig<std::uint64_t>(bytes, 8, table.firstSector);
    storeBig<std::uint64_t>(bytes, 16, table.sectorCount);
    storeBig<std::uint32_t>(bytes, 32, static_cast<std::uint32_t>(chunkSectors) + kSpareSectors);
    storeBig<std::uint32_t>(bytes, 36, static_cast<std::uint32_t>(number));
    storeChecksum(bytes, 64, table.checksum);
    storeBig<std::uint32_t>(bytes, 200, static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        const UdifRun run = i < table.runs.size() ? table.runs[i] : terminator(table);
        storeRun(std::span(bytes).subspan(kTableHeader + i * kRunSize, kRunSize), run, table.firstSector);
    }
    return bytes;
}

std::vector<std::byte> udifPlistBytes(std::span<const std::vector<std::byte>> tables,
                                      std::span<const std::string> names, const Resources& others) {
    const base::PropertyListNode root(plist_new_dict());
    plist_t list = plist_new_array();
    for (std::size_t i = 0; i < tables.size(); ++i) {
        plist_array_append_item(list, resourceEntry(tables[i], names[i], static_cast<long>(i) - 1, true));
    }
    plist_t fork = plist_new_dict();
    plist_dict_set_item(fork, "blkx", list);
    for (const auto& [type, resources] : others) {
        plist_t entries = plist_new_array();
        for (const Resource& resource : resources) {
            plist_array_append_item(entries, resourceEntry(resource.data, resource.name, resource.id, false));
        }
        plist_dict_set_item(fork, type.c_str(), entries);
    }
    plist_dict_set_item(root.get(), "resource-fork", fork);
    char* raw = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root.get(), &raw, &length);
    const std::unique_ptr<char, decltype(&std::free)> xml(raw, &std::free);
    if (!xml) {
        throw ImageError(ImageError::Kind::kUnsupported, "the image's property list cannot be written");
    }
    const auto bytes = std::as_bytes(std::span(xml.get(), length));
    return {bytes.begin(), bytes.end()};
}

std::array<std::byte, UdifTrailer::kSize> udifTrailerBytes(const UdifTrailer& trailer) {
    std::array<std::byte, UdifTrailer::kSize> bytes{};
    storeSignature(bytes, "koly");
    storeBig<std::uint32_t>(bytes, 4, kTrailerVersion);
    storeBig<std::uint32_t>(bytes, 8, UdifTrailer::kSize);
    storeBig<std::uint32_t>(bytes, 12, trailer.flags);
    storeBig<std::uint64_t>(bytes, 24, trailer.dataOffset);
    storeBig<std::uint64_t>(bytes, 32, trailer.dataLength);
    storeBig<std::uint64_t>(bytes, 16, trailer.dataBegin);
    storeBig<std::uint32_t>(bytes, 56, trailer.segmentNumber);
    storeBig<std::uint32_t>(bytes, 60, trailer.segmentCount);
    for (std::size_t i = 0; i < 4; ++i) { // the segment's identifier, which no one else refers to
        storeBig<std::uint32_t>(bytes, 64 + 4 * i, trailer.masterChecksum.value + static_cast<std::uint32_t>(i));
    }
    storeChecksum(bytes, 80, trailer.dataChecksum);
    storeBig<std::uint64_t>(bytes, 216, trailer.plistOffset);
    storeBig<std::uint64_t>(bytes, 224, trailer.plistLength);
    storeChecksum(bytes, 352, trailer.masterChecksum);
    storeBig<std::uint32_t>(bytes, 488, kDeviceImage);
    storeBig<std::uint64_t>(bytes, 492, trailer.sectorCount);
    return bytes;
}

} // namespace hdi
