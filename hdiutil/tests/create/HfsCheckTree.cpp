#include "hdiutil/tests/create/HfsCheckTree.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/create/HfsCheckFields.h"

#include <bit>
#include <set>

namespace hdi::test {

namespace {

class TreeCheck {
public:
    TreeCheck(const CheckedTree& tree, std::span<const std::byte> file, const KeyOrder& order,
              std::vector<std::string>& problems)
        : tree_(tree), file_(file), order_(order), problems_(problems) {}

    std::vector<CheckedRecord> run() {
        nodeSize_ = loadBig<std::uint16_t>(file_, 32);
        checkHeader();
        expect(loadBig<std::uint32_t>(file_, 36) == file_.size() / nodeSize_, "total nodes");
        const auto depth = loadBig<std::uint16_t>(file_, 14);
        const auto root = loadBig<std::uint32_t>(file_, 16);
        used_.insert(0);
        expect((root == 0) == (depth == 0), "root and depth");
        if (root != 0) {
            visit(root, depth);
        }
        expect(records_.size() == loadBig<std::uint32_t>(file_, 20), "leaf records");
        expect((leaves_.empty() ? 0 : leaves_.front()) == loadBig<std::uint32_t>(file_, 24), "first leaf");
        expect((leaves_.empty() ? 0 : leaves_.back()) == loadBig<std::uint32_t>(file_, 28), "last leaf");
        checkOrder();
        checkLinks();
        checkMap();
        return std::move(records_);
    }

private:
    void expect(bool holds, const std::string& what) {
        if (!holds) {
            problems_.push_back(tree_.name + ": " + what);
        }
    }

    std::span<const std::byte> node(std::uint32_t number) const {
        return file_.subspan(static_cast<std::size_t>(number) * nodeSize_, nodeSize_);
    }

    // The header node: three records at fixed places, and every field that TN1150 reserves.
    void checkHeader() {
        constexpr std::uint32_t kBigKeys = 2;
        constexpr std::uint32_t kVariableKeys = 4;
        const std::uint32_t attributes = kBigKeys | (tree_.hasVariableKeys ? kVariableKeys : 0);
        expectZero(file_, 0, 8, tree_.name + ": the header node's links", problems_);
        expect(file_[8] == std::byte{1} && file_[9] == std::byte{0}, "the header node's kind");
        expect(loadBig<std::uint16_t>(file_, 10) == 3, "the header node's records");
        expectZero(file_, 12, 14, tree_.name + ": reserved of the header node", problems_);
        expect(std::has_single_bit(nodeSize_) && nodeSize_ >= 512 && nodeSize_ <= 32768, "node size");
        expect(loadBig<std::uint16_t>(file_, 34) == tree_.maxKeyLength, "longest key");
        expectZero(file_, 44, 46, tree_.name + ": reserved of the header", problems_);
        expect(file_[50] == std::byte{0}, "the tree's type");
        expect(loadBig<std::uint32_t>(file_, 52) == attributes, "attributes");
        expectZero(file_, 56, 120, tree_.name + ": reserved at the header's end", problems_);
        expectZero(file_, 120, 248, tree_.name + ": the user's record", problems_);
        const std::size_t offsets[] = {14, 120, 248, nodeSize_ - 8};
        for (std::size_t i = 0; i < std::size(offsets); ++i) {
            expect(loadBig<std::uint16_t>(file_, nodeSize_ - 2 * (i + 1)) == offsets[i], "the header's offsets");
        }
    }

    std::vector<CheckedRecord> recordsOf(std::uint32_t number) {
        std::vector<CheckedRecord> records;
        const auto bytes = node(number);
        const auto count = loadBig<std::uint16_t>(bytes, 10);
        expectZero(bytes, 12, 14, tree_.name + ": reserved of a node", problems_);
        expect(loadBig<std::uint16_t>(bytes, nodeSize_ - 2) == 14, "a node's first record");
        expect(loadBig<std::uint16_t>(bytes, nodeSize_ - 2 * (count + std::size_t{1})) <=
                   nodeSize_ - 2 * (count + std::size_t{1}),
               "a node's free space");
        for (std::size_t i = 0; i < count; ++i) {
            const auto begin = loadBig<std::uint16_t>(bytes, nodeSize_ - 2 * (i + 1));
            const auto end = loadBig<std::uint16_t>(bytes, nodeSize_ - 2 * (i + 2));
            const std::size_t keyLength = loadBig<std::uint16_t>(bytes, begin);
            expect(keyLength <= loadBig<std::uint16_t>(file_, 34), "a key's length");
            const std::size_t data = begin + 2 + keyLength + keyLength % 2;
            records.push_back({bytes.subspan(begin + 2U, keyLength), bytes.subspan(data, end - data)});
        }
        return records;
    }

    void visit(std::uint32_t number, unsigned height) {
        if (!used_.insert(number).second) {
            return expect(false, "a node is used twice");
        }
        const auto bytes = node(number);
        expect(std::to_integer<unsigned>(bytes[9]) == height, "a node's height");
        levels_.resize(std::max<std::size_t>(levels_.size(), height + 1));
        levels_[height].push_back(number);
        const auto records = recordsOf(number);
        expect(!records.empty(), "an empty node");
        if (height == 1) {
            expect(bytes[8] == std::byte{0xFF}, "a leaf's kind");
            leaves_.push_back(number);
            records_.insert(records_.end(), records.begin(), records.end());
            return;
        }
        expect(bytes[8] == std::byte{0}, "an index node's kind");
        for (const CheckedRecord& record : records) {
            const auto child = loadBig<std::uint32_t>(record.data, 0);
            const auto first = recordsOf(child).at(0).key;
            expect(order_(record.key, first) == 0, "an index key is not its child's first");
            visit(child, height - 1);
        }
    }

    void checkOrder() {
        for (std::size_t i = 1; i < records_.size(); ++i) {
            expect(order_(records_[i - 1].key, records_[i].key) < 0, "keys out of order");
        }
    }

    void checkLinks() {
        for (const auto& level : levels_) {
            for (std::size_t i = 0; i < level.size(); ++i) {
                expect(loadBig<std::uint32_t>(node(level[i]), 0) == (i + 1 < level.size() ? level[i + 1] : 0), "fLink");
                expect(loadBig<std::uint32_t>(node(level[i]), 4) == (i > 0 ? level[i - 1] : 0), "bLink");
            }
        }
    }

    void checkMap() {
        const std::size_t map = 14 + 106 + 128;
        const std::size_t total = file_.size() / nodeSize_;
        expect(loadBig<std::uint32_t>(file_, 40) == total - used_.size(), "free nodes");
        for (std::uint32_t i = 0; i < (nodeSize_ - map - 8) * 8; ++i) {
            const bool isSet = (file_[map + i / 8] & (std::byte{0x80} >> (i % 8))) != std::byte{0};
            expect(isSet == used_.contains(i), "the node map at " + std::to_string(i));
        }
    }

    const CheckedTree& tree_;
    std::span<const std::byte> file_;
    const KeyOrder& order_;
    std::vector<std::string>& problems_;
    std::size_t nodeSize_ = 0;
    std::set<std::uint32_t> used_;
    std::vector<std::uint32_t> leaves_;
    std::vector<std::vector<std::uint32_t>> levels_;
    std::vector<CheckedRecord> records_;
};

} // namespace

std::vector<CheckedRecord> checkTree(const CheckedTree& tree, std::span<const std::byte> file, const KeyOrder& order,
                                     std::vector<std::string>& problems) {
    return TreeCheck(tree, file, order, problems).run();
}

} // namespace hdi::test
