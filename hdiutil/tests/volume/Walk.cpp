#include "hdiutil/tests/volume/Walk.h"

#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <vector>

namespace hdi::test {

namespace {

constexpr std::size_t kMaxEntries = 50'000;
constexpr std::size_t kPart = 64U * 1024;

void visit(const Volume& volume, NodeId node, Walked& walked, std::vector<NodeId>& folders) {
    const Attributes attributes = volume.attributes(node);
    if (attributes.kind == NodeKind::kFolder) {
        return folders.push_back(node);
    }
    if (attributes.kind == NodeKind::kSymlink) {
        walked.bytes += volume.linkTarget(node).size();
        return;
    }
    std::vector<std::byte> part(kPart);
    walked.bytes += volume.read(node, 0, part);
    if (attributes.size > kPart) {
        walked.bytes += volume.read(node, attributes.size - kPart / 2, part);
    }
}

} // namespace

Walked walk(const Volume& volume) {
    Walked walked;
    std::vector<NodeId> folders{volume.root()};
    while (!folders.empty() && walked.entries < kMaxEntries) {
        const NodeId folder = folders.back();
        folders.pop_back();
        for (const DirectoryEntry& entry : volume.list(folder)) {
            ++walked.entries;
            try {
                // Of two names that the volume takes for one, either may be found, but one is.
                if (!volume.lookUp(folder, entry.name)) {
                    __builtin_trap();
                }
                visit(volume, entry.node, walked, folders);
            } catch (const ImageError&) {
                ++walked.errors;
            }
        }
    }
    return walked;
}

} // namespace hdi::test
