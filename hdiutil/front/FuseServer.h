#pragma once

#include "hdiutil/volume/Volume.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <thread>

struct fuse_session;

namespace hdi {

class FuseNodes;

// Serves one volume to the kernel through libfuse's low-level interface (fuse_lowlevel.h is the source of facts). The
// kernel keeps names, attributes and contents for as long as it likes: nothing ever changes.
//
// Threads: all functions on one thread; damaged() on any. The volume must outlive the object.
class FuseServer {
public:
    explicit FuseServer(const Volume& volume);
    FuseServer(const FuseServer&) = delete;
    FuseServer& operator=(const FuseServer&) = delete;
    // Unmounts when that has not happened yet.
    ~FuseServer();

    // Mounts read-only, nosuid and nodev on an existing folder. `device` shows as the source in the mount table. False
    // when FUSE is not to be had here.
    bool mount(const std::string& folder, const std::string& device);
    // Begins to answer, on threads of its own; `ended` is called on one of them when the volume has been unmounted.
    void start(std::function<void()> ended);
    // Takes the mount away from its folder even while files are open; those are served as long as the process lives.
    void unmount();
    // From now on all reads fail with EIO, and the kernel forgets what it has been given.
    void damaged();

private:
    bool store(std::uint64_t inode, std::span<const std::byte> contents) const;

    std::unique_ptr<FuseNodes> nodes_;
    fuse_session* session_ = nullptr;
    std::string folder_; // while it is mounted
    std::thread loop_;
};

// Whether trying is worth it: the device can be opened, and this user may mount or has a helper that may.
bool isFuseUsable();

// Lets the kernel read ahead further than its default on the mount at `folder`. Only root can; else nothing happens.
void widenReadAhead(const std::string& folder);

} // namespace hdi
