#include "hdiutil/create/HfsTreeWriter.h"

#include "hdiutil/create/HfsRecordWriter.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsFormat.h"

#include <algorithm>
#include <array>
#include <utility>

namespace hdi {

namespace {

constexpr std::size_t kUserDataBytes = 128;
constexpr std::size_t kMapOffset = hfs::kNodeDescriptorBytes + hfs::kTreeHeaderBytes + kUserDataBytes;
constexpr std::size_t kHeaderOffsets = 8; // the header node's four record offsets
constexpr std::uint32_t kBigKeys = 2;
constexpr std::uint32_t kVariableIndexKeys = 4;

std::vector<std::byte> makeRecord(std::span<const std::byte> key, std::span<const std::byte> data) {
    std::vector<std::byte> record(2 + key.size() + key.size() % 2);
    storeBig<std::uint16_t>(record, 0, static_cast<std::uint16_t>(key.size()));
    std::copy(key.begin(), key.end(), record.begin() + 2);
    record.insert(record.end(), data.begin(), data.end());
    if (record.size() % 2 != 0) {
        record.push_back(std::byte{0});
    }
    return record;
}

} // namespace

HfsTreeWriter::Kind HfsTreeWriter::catalogKind(bool caseSensitive) {
    return {8192, 516, caseSensitive ? hfs::kBinaryCompare : hfs::kCaseFoldingCompare, true};
}

HfsTreeWriter::Kind HfsTreeWriter::extentsKind() {
    return {4096, 10, 0, false};
}

HfsTreeWriter::HfsTreeWriter(const Kind& kind) : kind_(kind), file_(kind.nodeSize) {}

void HfsTreeWriter::add(std::span<const std::byte> key, std::span<const std::byte> data) {
    append(makeRecord(key, data), hfs::kLeafNode, 1, key);
    ++leafRecords_;
}

std::vector<std::byte> HfsTreeWriter::finish() {
    lastLeaf_ = current_;
    firstLeaf_ = level_.empty() ? 0 : level_.front().node;
    closeLevel();
    std::uint16_t depth = level_.empty() ? 0 : 1;
    while (level_.size() > 1) {
        writeIndex();
        ++depth;
    }
    if (file_.size() == kind_.nodeSize) {
        file_.resize(2 * std::size_t{kind_.nodeSize}); // one free node
    }
    writeHeader(level_.empty() ? 0 : level_.front().node, depth);
    return std::move(file_);
}

// The level above the last one: a record for each of its nodes.
std::uint32_t HfsTreeWriter::writeIndex() {
    const std::vector<Child> below = std::exchange(level_, {});
    const std::uint8_t height = std::to_integer<std::uint8_t>(node(below.front().node)[9]);
    for (const Child& child : below) {
        std::array<std::byte, 4> number{};
        storeBig<std::uint32_t>(number, 0, child.node);
        append(makeRecord(child.key, number), hfs::kIndexNode, static_cast<std::uint8_t>(height + 1), child.key);
    }
    closeLevel();
    return level_.front().node;
}

void HfsTreeWriter::append(Bytes record, std::uint8_t nodeKind, std::uint8_t height, std::span<const std::byte> key) {
    const auto fits = [&] { return used_ + record.size() + 2 * (count_ + std::size_t{2}) <= kind_.nodeSize; };
    if (current_ == 0 || !fits()) {
        beginNode(nodeKind, height, key);
    }
    if (!fits()) {
        throw ImageError(ImageError::Kind::kUnsupported, "a record is too long for the volume's trees");
    }
    const std::span<std::byte> place = node(current_);
    std::copy(record.begin(), record.end(), place.begin() + static_cast<std::ptrdiff_t>(used_));
    used_ += record.size();
    ++count_;
    storeBig<std::uint16_t>(place, 10, count_);
    storeBig<std::uint16_t>(place, kind_.nodeSize - 2U * (count_ + 1U), static_cast<std::uint16_t>(used_));
}

void HfsTreeWriter::beginNode(std::uint8_t nodeKind, std::uint8_t height, std::span<const std::byte> key) {
    const auto number = static_cast<std::uint32_t>(file_.size() / kind_.nodeSize);
    file_.resize(file_.size() + kind_.nodeSize);
    const std::span<std::byte> fresh = node(number);
    if (current_ != 0) {
        storeBig<std::uint32_t>(node(current_), 0, number);
        storeBig<std::uint32_t>(fresh, 4, current_);
    }
    fresh[8] = std::byte{nodeKind};
    fresh[9] = std::byte{height};
    storeBig<std::uint16_t>(fresh, kind_.nodeSize - 2U, hfs::kNodeDescriptorBytes);
    level_.push_back({Bytes(key.begin(), key.end()), number});
    current_ = number;
    used_ = hfs::kNodeDescriptorBytes;
    count_ = 0;
}

void HfsTreeWriter::closeLevel() {
    current_ = 0;
    used_ = 0;
    count_ = 0;
}

std::span<std::byte> HfsTreeWriter::node(std::uint32_t number) {
    return std::span(file_).subspan(static_cast<std::size_t>(number) * kind_.nodeSize, kind_.nodeSize);
}

void HfsTreeWriter::writeHeader(std::uint32_t root, std::uint16_t depth) {
    const auto total = static_cast<std::uint32_t>(file_.size() / kind_.nodeSize);
    const std::uint32_t usedNodes = root == 0 ? 1 : total;
    const std::span<std::byte> header = node(0);
    const std::size_t mapBytes = kind_.nodeSize - kMapOffset - kHeaderOffsets;
    if (usedNodes > mapBytes * 8) {
        throw ImageError(ImageError::Kind::kUnsupported, "there are too many files for one volume");
    }
    header[8] = std::byte{hfs::kHeaderNode};
    storeBig<std::uint16_t>(header, 10, 3);
    storeBig<std::uint16_t>(header, 14, depth);
    storeBig<std::uint32_t>(header, 16, root);
    storeBig<std::uint32_t>(header, 20, leafRecords_);
    storeBig<std::uint32_t>(header, 24, firstLeaf_);
    storeBig<std::uint32_t>(header, 28, lastLeaf_);
    storeBig<std::uint16_t>(header, 32, kind_.nodeSize);
    storeBig<std::uint16_t>(header, 34, kind_.maxKeyLength);
    storeBig<std::uint32_t>(header, 36, total);
    storeBig<std::uint32_t>(header, 40, total - usedNodes);
    storeBig<std::uint32_t>(header, 46, treeClump(file_.size()));
    header[51] = std::byte{kind_.keyCompare};
    storeBig<std::uint32_t>(header, 52, kBigKeys | (kind_.hasVariableKeys ? kVariableIndexKeys : 0));
    for (std::uint32_t i = 0; i < usedNodes; ++i) {
        header[kMapOffset + i / 8] |= std::byte{0x80} >> (i % 8);
    }
    const std::array<std::size_t, 4> offsets = {hfs::kNodeDescriptorBytes,
                                                hfs::kNodeDescriptorBytes + hfs::kTreeHeaderBytes, kMapOffset,
                                                kMapOffset + mapBytes};
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        storeBig<std::uint16_t>(header, kind_.nodeSize - 2 * (i + 1), static_cast<std::uint16_t>(offsets[i]));
    }
}

} // namespace hdi
