#include "hdiutil/volume/HfsFolderGraph.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsFormat.h"

#include <algorithm>
#include <unordered_map>

namespace hdi::hfs {

namespace {

constexpr std::uint64_t kMaxPaths = 10'000'000;
constexpr std::uint64_t kBeingWalked = 0; // a folder that is done has at least its own path

// A walk with a stack of its own: the depth of folders is the volume's choice.
class Walk {
public:
    Walk(std::span<const Entry> entries, const std::vector<bool>& isFolder) : entries_(entries), isFolder_(isFolder) {}

    std::vector<std::size_t> run() {
        enter(kRootFolderId);
        while (!stack_.empty()) {
            step();
        }
        return std::move(circles_);
    }

private:
    struct Frame {
        std::uint32_t folder;
        std::size_t next;
        std::size_t end;
        std::uint64_t paths;
    };

    void enter(std::uint32_t folder) {
        const auto first = std::ranges::lower_bound(entries_, folder, {}, &Entry::parent);
        const auto last = std::ranges::upper_bound(entries_, folder, {}, &Entry::parent);
        paths_[folder] = kBeingWalked;
        stack_.push_back({folder, static_cast<std::size_t>(first - entries_.begin()),
                          static_cast<std::size_t>(last - entries_.begin()), 1});
    }

    void step() {
        Frame& frame = stack_.back();
        if (frame.next == frame.end) {
            return leave();
        }
        const std::size_t at = frame.next++;
        if (!isFolder_[at]) {
            ++frame.paths;
            return;
        }
        const auto known = paths_.find(entries_[at].target);
        if (known == paths_.end()) {
            return enter(entries_[at].target);
        }
        if (known->second == kBeingWalked) {
            circles_.push_back(at);
        } else {
            add(frame, known->second);
        }
    }

    void leave() {
        const Frame done = stack_.back();
        stack_.pop_back();
        paths_[done.folder] = done.paths;
        if (!stack_.empty()) {
            add(stack_.back(), done.paths);
        }
    }

    static void add(Frame& frame, std::uint64_t paths) {
        frame.paths += paths;
        if (frame.paths > kMaxPaths) {
            throw ImageError(ImageError::Kind::kDamaged, "the volume's folders are linked into too many paths");
        }
    }

    std::span<const Entry> entries_;
    const std::vector<bool>& isFolder_;
    std::unordered_map<std::uint32_t, std::uint64_t> paths_;
    std::vector<Frame> stack_;
    std::vector<std::size_t> circles_;
};

} // namespace

std::vector<std::size_t> findCircles(std::span<const Entry> entries, const std::vector<bool>& isFolder) {
    return Walk(entries, isFolder).run();
}

} // namespace hdi::hfs
