#pragma once

#include "hdiutil/tests/image/TestBytes.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace hdi::test {

struct CheckedRecord {
    std::span<const std::byte> key; // without its length
    std::span<const std::byte> data;
};

using KeyOrder = std::function<int(std::span<const std::byte>, std::span<const std::byte>)>;

struct CheckedTree {
    std::string name;
    std::uint16_t maxKeyLength;
    bool hasVariableKeys; // in its index nodes
};

// Checks a whole B-tree file and gives its leaf records in order.
std::vector<CheckedRecord> checkTree(const CheckedTree& tree, std::span<const std::byte> file, const KeyOrder& order,
                                     std::vector<std::string>& problems);

} // namespace hdi::test
