#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hdi {

// A B-tree file of HFS+, made of records given in their order. Everything stands in memory: about 400 bytes for each
// file of a catalog.
//
// Threads: one. Facts: TN1150, "B-Trees".
class HfsTreeWriter {
public:
    struct Kind {
        std::uint16_t nodeSize = 8192;
        std::uint16_t maxKeyLength = 0;
        std::uint8_t keyCompare = 0;  // as in the header: 0xCF, 0xBC, or 0 where there is no choice
        bool hasVariableKeys = false; // in index nodes
    };

    static Kind catalogKind(bool caseSensitive);
    static Kind extentsKind();

    explicit HfsTreeWriter(const Kind& kind);

    // `key` without its length, at most maxKeyLength bytes. Throws ImageError (kUnsupported) when key and data do not
    // fit into a node.
    void add(std::span<const std::byte> key, std::span<const std::byte> data);

    // The file, a whole number of nodes, two at least. Throws ImageError (kUnsupported) for more nodes than the
    // header's own map can tell, which are half a gigabyte of catalog. Call once, at the end.
    std::vector<std::byte> finish();

private:
    using Bytes = std::vector<std::byte>;

    struct Child {
        Bytes key;
        std::uint32_t node;
    };

    void append(Bytes record, std::uint8_t nodeKind, std::uint8_t height, std::span<const std::byte> key);
    void beginNode(std::uint8_t nodeKind, std::uint8_t height, std::span<const std::byte> key);
    void closeLevel();
    std::uint32_t writeIndex();
    std::span<std::byte> node(std::uint32_t number);
    void writeHeader(std::uint32_t root, std::uint16_t depth);

    Kind kind_;
    Bytes file_;
    std::vector<Child> level_; // the nodes of the level being written
    std::uint32_t leafRecords_ = 0;
    std::uint32_t firstLeaf_ = 0;
    std::uint32_t lastLeaf_ = 0;
    std::uint32_t current_ = 0; // the node being filled; 0: none
    std::size_t used_ = 0;      // bytes of it
    std::uint16_t count_ = 0;   // records in it
};

} // namespace hdi
