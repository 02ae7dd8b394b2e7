#pragma once

#define FUSE_USE_VERSION 314

#include "hdiutil/front/SmallFilesAhead.h"
#include "hdiutil/volume/Volume.h"

#include <fuse_lowlevel.h>

#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace hdi {

// The answers to the kernel's questions about one volume. Inode numbers are the volume's own, but the root is 1 because
// the kernel says so.
//
// Threads: any number at once.
class FuseNodes {
public:
    // Gives the kernel a file's whole contents unasked; false when it does not want them.
    using Store = std::function<bool(fuse_ino_t, std::span<const std::byte>)>;

    FuseNodes(const Volume& volume, Store store);

    void lookUp(fuse_req_t request, fuse_ino_t parent, const char* name);
    void getAttributes(fuse_req_t request, fuse_ino_t inode);
    void readLink(fuse_req_t request, fuse_ino_t inode);
    void openFolder(fuse_req_t request, fuse_ino_t inode, fuse_file_info* info);
    void readFolder(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset, const fuse_file_info& info,
                    bool withAttributes);
    static void releaseFolder(fuse_req_t request, const fuse_file_info& info);
    void read(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset);
    void statFileSystem(fuse_req_t request);

    // All further answers that come from the image are EIO, and nothing more is given unasked.
    void markDamaged();
    // What the kernel may have in its caches.
    std::vector<fuse_ino_t> knownInodes();

private:
    NodeId nodeOf(fuse_ino_t inode) const;
    fuse_ino_t inodeOf(NodeId node) const;
    struct stat statOf(NodeId node) const;
    fuse_entry_param entryOf(NodeId node);
    void storeFollowing(NodeId file);
    bool storeFile(NodeId file);
    std::size_t addEntry(fuse_req_t request, std::vector<char>& buffer, std::size_t used, const DirectoryEntry& entry,
                         off_t next, bool withAttributes);

    const Volume& volume_;
    const Store store_;
    const uid_t owner_;
    const gid_t group_;
    std::atomic<bool> damaged_ = false;
    SmallFilesAhead ahead_;
    std::mutex storeMutex_; // held while one file is stored
    std::mutex knownMutex_;
    std::unordered_set<fuse_ino_t> known_;
};

} // namespace hdi
