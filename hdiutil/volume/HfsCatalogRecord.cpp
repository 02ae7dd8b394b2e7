#include "hdiutil/volume/HfsCatalogRecord.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/Numbers.h"

namespace hdi::hfs {

namespace {

void parseKey(std::span<const std::byte> key, CatalogRecord& record) {
    if (key.size() < 6) {
        damaged("a catalog key is too short");
    }
    record.parent = be32(key, 0);
    const std::size_t length = be16(key, 4);
    if (length > kMaxNameUnits || 6 + 2 * length > key.size()) {
        damaged("a catalog key's name is longer than the key");
    }
    record.name.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        record.name += static_cast<char16_t>(be16(key, 6 + 2 * i));
    }
}

// What folders and files have in common.
void parseCommon(std::span<const std::byte> data, CatalogRecord& record) {
    record.flags = be16(data, 2);
    record.id = be32(data, 8);
    record.modified = be32(data, 16);
    record.changed = be32(data, 20);
    record.ownerFlags = byteAt(data, 41);
    record.mode = be16(data, 42);
    record.special = be32(data, 44);
    if (record.id == 0) {
        damaged("a catalog record has no number");
    }
}

} // namespace

std::optional<CatalogRecord> parseCatalogRecord(const LeafRecord& leaf) {
    if (leaf.data.size() < 2) {
        damaged("a catalog record is too short");
    }
    const std::uint16_t type = be16(leaf.data, 0);
    if (type == kFolderThreadRecord || type == kFileThreadRecord) {
        return std::nullopt;
    }
    if (type != kFolderRecord && type != kFileRecord) {
        damaged("a catalog record is of an unknown type");
    }
    CatalogRecord record;
    record.isFolder = type == kFolderRecord;
    if (leaf.data.size() < (record.isFolder ? kFolderRecordBytes : kFileRecordBytes)) {
        damaged("a catalog record is too short");
    }
    parseKey(leaf.key, record);
    parseCommon(leaf.data, record);
    if (record.isFolder) {
        return record;
    }
    record.type = be32(leaf.data, 48);
    record.creator = be32(leaf.data, 52);
    record.data = parseFork(leaf.data, 88);
    record.resources = parseFork(leaf.data, 168);
    return record;
}

} // namespace hdi::hfs
