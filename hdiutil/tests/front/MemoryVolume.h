#pragma once

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/Volume.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace hdi::test {

// A volume that a test puts together, entries included that no honest image has.
class MemoryVolume final : public Volume {
public:
    static constexpr NodeId kRoot = 2;

    MemoryVolume() { nodes_[kRoot].attributes = {NodeKind::kFolder, 0755, 1, 0, {}, {}}; }

    NodeId addFolder(NodeId parent, const std::string& name, std::uint32_t mode = 0755) {
        return add(parent, name, {NodeKind::kFolder, mode, 1, 0, {}, {}}, "");
    }
    NodeId addFile(NodeId parent, const std::string& name, const std::string& text, std::uint32_t mode = 0644) {
        return add(parent, name, {NodeKind::kFile, mode, 1, text.size(), {1000, 5}, {}}, text);
    }
    NodeId addLink(NodeId parent, const std::string& name, const std::string& target) {
        return add(parent, name, {NodeKind::kSymlink, 0777, 1, target.size(), {}, {}}, target);
    }
    void addEntry(NodeId parent, const std::string& name, NodeId node) {
        nodes_[parent].entries.push_back({name, node});
        nodes_[node].attributes.links += 1;
    }
    void breakReads(NodeId node) { nodes_[node].broken = true; }
    void setSize(NodeId node, std::uint64_t size) { nodes_[node].attributes.size = size; }

    const std::string& name() const override { return name_; }
    std::uint64_t capacity() const override { return 1U << 20; }
    std::uint64_t freeSpace() const override { return 0; }
    NodeId root() const override { return kRoot; }
    Attributes attributes(NodeId node) const override { return nodes_.at(node).attributes; }
    std::vector<DirectoryEntry> list(NodeId folder) const override { return nodes_.at(folder).entries; }
    std::optional<NodeId> lookUp(NodeId folder, std::string_view name) const override {
        for (const DirectoryEntry& entry : nodes_.at(folder).entries) {
            if (entry.name == name) {
                return entry.node;
            }
        }
        return std::nullopt;
    }
    std::size_t read(NodeId file, std::uint64_t offset, std::span<std::byte> into) const override {
        const Node& node = nodes_.at(file);
        if (node.broken) {
            throw ImageError(ImageError::Kind::kDamaged, "broken on purpose");
        }
        const std::uint64_t left = node.text.size() - std::min<std::uint64_t>(node.text.size(), offset);
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, into.size()));
        std::transform(node.text.begin() + static_cast<std::ptrdiff_t>(offset),
                       node.text.begin() + static_cast<std::ptrdiff_t>(offset + count), into.begin(),
                       [](char c) { return static_cast<std::byte>(c); });
        return count;
    }
    std::string linkTarget(NodeId link) const override { return nodes_.at(link).text; }

private:
    struct Node {
        Attributes attributes;
        std::string text;
        std::vector<DirectoryEntry> entries;
        bool broken = false;
    };

    NodeId add(NodeId parent, const std::string& name, const Attributes& attributes, const std::string& text) {
        const NodeId node = next_++;
        nodes_[node] = {attributes, text, {}, false};
        nodes_[parent].entries.push_back({name, node});
        return node;
    }

    std::string name_ = "Memory";
    std::map<NodeId, Node> nodes_;
    NodeId next_ = 16;
};

} // namespace hdi::test
