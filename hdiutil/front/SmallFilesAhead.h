#pragma once

#include "hdiutil/volume/Volume.h"

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace hdi {

// Sees when somebody reads the files of a folder one after the other, in the order of its listing, and says which come
// next: the kernel reads ahead inside a file, but not from one small file to another.
//
// Threads: any number at once.
class SmallFilesAhead {
public:
    using Listing = std::vector<DirectoryEntry>;

    static constexpr std::size_t kBatch = 64;

    // A folder's names were asked for; its files may be read next. A folder asked for again counts anew.
    void listed(NodeId folder, const std::shared_ptr<const Listing>& listing);

    // A file is being read that was not given out before. The nodes behind it in its folder, at most kBatch, none while
    // it does not follow on the one before. Each node is given out once.
    std::vector<NodeId> following(NodeId file);

private:
    struct Folder {
        NodeId id;
        std::shared_ptr<const Listing> listing;
        std::vector<std::pair<NodeId, std::size_t>> places; // in the listing; made with the first read
        std::size_t expected = 0;                           // the place that a reader in order would read next
        bool wasRead = false;
    };

    static std::size_t placeOf(Folder& folder, NodeId file);

    std::mutex mutex_;
    std::list<Folder> folders_; // the last asked for first
};

} // namespace hdi
