#include "hdiutil/front/FuseNodes.h"

#include "hdiutil/image/ImageError.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <new>

namespace hdi {
namespace {

constexpr double kForever = 365.0 * 24 * 3600; // seconds
constexpr std::uint64_t kBlock = 4096;
constexpr std::uint64_t kStatBlock = 512;

// Whatever the reader throws becomes an answer: an unanswered request would block its caller for ever.
void answer(fuse_req_t request, bool damaged, const std::function<void()>& body) {
    if (damaged) {
        fuse_reply_err(request, EIO);
        return;
    }
    try {
        body();
    } catch (const ImageError&) {
        fuse_reply_err(request, EIO);
    } catch (const std::bad_alloc&) {
        fuse_reply_err(request, ENOMEM);
    } catch (const std::exception&) {
        fuse_reply_err(request, EIO);
    }
}

mode_t typeOf(NodeKind kind) {
    switch (kind) {
    case NodeKind::kFolder:
        return S_IFDIR;
    case NodeKind::kSymlink:
        return S_IFLNK;
    case NodeKind::kFile:
        break;
    }
    return S_IFREG;
}

using Listing = std::shared_ptr<const SmallFilesAhead::Listing>;

Listing* listingOf(const fuse_file_info& info) {
    return reinterpret_cast<Listing*>(info.fh); // NOLINT(performance-no-int-to-ptr): libfuse keeps it as a number
}

constexpr std::uint64_t kSmallFile = 16384;

} // namespace

// As macOS does for images, whoever mounts owns everything: the numbers stored in it belong to another machine.
FuseNodes::FuseNodes(const Volume& volume, Store store)
    : volume_(volume), store_(std::move(store)), owner_(getuid()), group_(getgid()) {}

NodeId FuseNodes::nodeOf(fuse_ino_t inode) const {
    if (inode == FUSE_ROOT_ID) {
        return volume_.root();
    }
    return inode == volume_.root() ? FUSE_ROOT_ID : inode;
}

fuse_ino_t FuseNodes::inodeOf(NodeId node) const {
    if (node == volume_.root()) {
        return FUSE_ROOT_ID;
    }
    return node == FUSE_ROOT_ID ? volume_.root() : node;
}

struct stat FuseNodes::statOf(NodeId node) const {
    const Attributes attributes = volume_.attributes(node);
    struct stat facts {};
    facts.st_ino = inodeOf(node);
    facts.st_mode = typeOf(attributes.kind) | static_cast<mode_t>(attributes.mode & 0777);
    facts.st_nlink = attributes.links;
    facts.st_uid = owner_;
    facts.st_gid = group_;
    facts.st_size = static_cast<off_t>(attributes.size);
    facts.st_blksize = kBlock;
    facts.st_blocks = static_cast<blkcnt_t>(attributes.size / kStatBlock + (attributes.size % kStatBlock != 0 ? 1 : 0));
    facts.st_mtim = attributes.modified;
    facts.st_ctim = attributes.changed;
    facts.st_atim = attributes.modified;
    return facts;
}

fuse_entry_param FuseNodes::entryOf(NodeId node) {
    fuse_entry_param entry{};
    entry.attr = statOf(node);
    entry.ino = entry.attr.st_ino;
    entry.attr_timeout = kForever;
    entry.entry_timeout = kForever;
    const std::lock_guard lock(knownMutex_);
    known_.insert(entry.ino);
    return entry;
}

std::vector<fuse_ino_t> FuseNodes::knownInodes() {
    const std::lock_guard lock(knownMutex_);
    std::vector<fuse_ino_t> inodes(known_.begin(), known_.end());
    inodes.push_back(FUSE_ROOT_ID);
    return inodes;
}

void FuseNodes::lookUp(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answer(request, damaged_, [&] {
        const std::optional<NodeId> node = volume_.lookUp(nodeOf(parent), name);
        fuse_entry_param entry{};
        entry.entry_timeout = kForever; // inode 0: the absence is remembered
        if (node) {
            entry = entryOf(*node);
        }
        fuse_reply_entry(request, &entry);
    });
}

void FuseNodes::getAttributes(fuse_req_t request, fuse_ino_t inode) {
    answer(request, damaged_, [&] {
        const struct stat facts = statOf(nodeOf(inode));
        fuse_reply_attr(request, &facts, kForever);
    });
}

void FuseNodes::readLink(fuse_req_t request, fuse_ino_t inode) {
    answer(request, damaged_, [&] { fuse_reply_readlink(request, volume_.linkTarget(nodeOf(inode)).c_str()); });
}

void FuseNodes::openFolder(fuse_req_t request, fuse_ino_t inode, fuse_file_info* info) {
    answer(request, damaged_, [&] {
        auto entries = std::make_shared<SmallFilesAhead::Listing>(volume_.list(nodeOf(inode)));
        ahead_.listed(nodeOf(inode), entries);
        auto listing = std::make_unique<Listing>(std::move(entries));
        info->keep_cache = 1;
        info->cache_readdir = 1;
        info->fh = reinterpret_cast<std::uint64_t>(listing.get());
        if (fuse_reply_open(request, info) == 0) {
            (void)listing.release(); // until releaseFolder; an interrupted open is not released
        }
    });
}

std::size_t FuseNodes::addEntry(fuse_req_t request, std::vector<char>& buffer, std::size_t used,
                                const DirectoryEntry& entry, off_t next, bool withAttributes) {
    const std::size_t room = buffer.size() - used;
    if (withAttributes) {
        const bool isDot = entry.name == "." || entry.name == "..";
        fuse_entry_param parameters{};
        if (isDot) { // inode 0: the kernel takes only the name
            parameters.attr.st_ino = inodeOf(entry.node);
            parameters.attr.st_mode = S_IFDIR;
        } else {
            parameters = entryOf(entry.node);
        }
        return fuse_add_direntry_plus(request, buffer.data() + used, room, entry.name.c_str(), &parameters, next);
    }
    const struct stat facts = statOf(entry.node);
    return fuse_add_direntry(request, buffer.data() + used, room, entry.name.c_str(), &facts, next);
}

void FuseNodes::readFolder(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset,
                           const fuse_file_info& info, bool withAttributes) {
    answer(request, damaged_, [&] {
        const SmallFilesAhead::Listing& listing = **listingOf(info);
        const NodeId folder = nodeOf(inode);
        const DirectoryEntry dots[] = {{".", folder}, {"..", folder}};
        std::vector<char> buffer(size);
        std::size_t used = 0;
        for (auto i = static_cast<std::size_t>(std::max<off_t>(offset, 0)); i < std::size(dots) + listing.size(); ++i) {
            const DirectoryEntry& entry = i < std::size(dots) ? dots[i] : listing[i - std::size(dots)];
            const std::size_t needed =
                addEntry(request, buffer, used, entry, static_cast<off_t>(i + 1), withAttributes);
            if (needed > buffer.size() - used) {
                break;
            }
            used += needed;
        }
        fuse_reply_buf(request, buffer.data(), used);
    });
}

void FuseNodes::releaseFolder(fuse_req_t request, const fuse_file_info& info) {
    const std::unique_ptr<Listing> listing(listingOf(info));
    fuse_reply_err(request, 0);
}

void FuseNodes::read(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset) {
    answer(request, damaged_, [&] {
        thread_local std::vector<std::byte> buffer;
        buffer.resize(std::max(buffer.size(), size));
        const std::size_t count = volume_.read(nodeOf(inode), static_cast<std::uint64_t>(std::max<off_t>(offset, 0)),
                                               std::span(buffer.data(), size));
        if (damaged_) { // found while this was being read
            fuse_reply_err(request, EIO);
            return;
        }
        fuse_reply_buf(request, reinterpret_cast<const char*>(buffer.data()), count);
        if (offset == 0 && count <= kSmallFile) {
            storeFollowing(nodeOf(inode));
        }
    });
}

// The reader has its answer; the files that it will want next are in the kernel before it asks for them.
void FuseNodes::storeFollowing(NodeId file) {
    try {
        for (const NodeId next : ahead_.following(file)) {
            if (!storeFile(next)) {
                return;
            }
        }
    } catch (const std::exception&) { // who reads that file gets the error
    }
}

bool FuseNodes::storeFile(NodeId file) {
    const Attributes facts = volume_.attributes(file);
    if (facts.kind != NodeKind::kFile || facts.size == 0 || facts.size > kSmallFile) {
        return true;
    }
    std::vector<std::byte> contents(static_cast<std::size_t>(facts.size));
    const bool isWhole = volume_.read(file, 0, contents) == contents.size();
    const std::lock_guard lock(storeMutex_);
    return isWhole && !damaged_ && store_(inodeOf(file), contents);
}

void FuseNodes::markDamaged() {
    damaged_ = true;
    const std::lock_guard lock(storeMutex_); // what was being stored is in the kernel now, and can be taken back
}

void FuseNodes::statFileSystem(fuse_req_t request) {
    struct statvfs facts {};
    facts.f_bsize = kBlock;
    facts.f_frsize = kBlock;
    facts.f_blocks = volume_.capacity() / kBlock;
    facts.f_bfree = volume_.freeSpace() / kBlock;
    facts.f_namemax = 255;
    facts.f_flag = ST_RDONLY;
    fuse_reply_statfs(request, &facts);
}

} // namespace hdi
