#include "hdiutil/front/SmallFilesAhead.h"

#include <algorithm>

namespace hdi {

namespace {

constexpr std::size_t kFolders = 8;
constexpr std::size_t kLargestListing = 2'000'000;
constexpr std::size_t kNowhere = SIZE_MAX;
constexpr std::size_t kSkipped = 8; // folders, links and large files between two small ones

} // namespace

void SmallFilesAhead::listed(NodeId folder, const std::shared_ptr<const Listing>& listing) {
    if (listing->size() > kLargestListing) {
        return;
    }
    const std::lock_guard lock(mutex_);
    folders_.remove_if([folder](const Folder& each) { return each.id == folder; });
    folders_.push_front({folder, listing, {}, 0, false});
    if (folders_.size() > kFolders) {
        folders_.pop_back();
    }
}

std::size_t SmallFilesAhead::placeOf(Folder& folder, NodeId file) {
    if (folder.places.empty()) {
        folder.places.reserve(folder.listing->size());
        for (std::size_t i = 0; i < folder.listing->size(); ++i) {
            folder.places.emplace_back((*folder.listing)[i].node, i);
        }
        std::ranges::sort(folder.places);
    }
    const auto found = std::ranges::lower_bound(folder.places, file, {}, [](const auto& place) { return place.first; });
    return found != folder.places.end() && found->first == file ? found->second : kNowhere;
}

std::vector<NodeId> SmallFilesAhead::following(NodeId file) {
    const std::lock_guard lock(mutex_);
    for (Folder& folder : folders_) {
        const std::size_t place = placeOf(folder, file);
        if (place == kNowhere) {
            continue;
        }
        const bool isNext = folder.wasRead && place >= folder.expected && place <= folder.expected + kSkipped;
        const bool isGivenOut = place < folder.expected; // and read before it was there
        if (isGivenOut) {
            return {};
        }
        folder.wasRead = true;
        folder.expected = place + 1;
        std::vector<NodeId> next;
        while (isNext && folder.expected < folder.listing->size() && next.size() < kBatch) {
            next.push_back((*folder.listing)[folder.expected++].node);
        }
        return next;
    }
    return {};
}

} // namespace hdi
