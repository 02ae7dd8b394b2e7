#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/volume/ApfsLibrary.h"
#include "hdiutil/volume/ApfsMetadata.h"

#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace hdi {

// An APFS container opened by libfsapfs over a ByteSource. The library keeps state in every object it hands out and
// knows no threads, so all its volumes share the one mutex here; whoever calls into the library holds it.
class ApfsContainer {
public:
    // Throws ImageError, kDamaged also for metadata that do not match their checksums; so does whatever reads such
    // later.
    static std::shared_ptr<ApfsContainer> open(const ByteSourcePtr& partition);

    std::mutex& mutex() const { return mutex_; }
    libfsapfs_container_t* get() const { return container_.get(); }
    // In the library's order.
    const std::vector<apfs::Metadata::VolumeFacts>& volumes() const { return volumes_; }

    // Throws what the ByteSource threw beneath the library; else ImageError (kDamaged) with the library's words, which
    // it frees. Call with the mutex held.
    [[noreturn]] void fail(const char* what, libfsapfs_error_t*& error) const;
    // The same unless `result` says that the call went well. `error` may stand in the same call as what sets it, so it
    // is looked at in here only.
    void check(int result, const char* what, libfsapfs_error_t*& error) const {
        if (result != 1) {
            fail(what, error);
        }
    }

private:
    ApfsContainer() = default;

    mutable std::mutex mutex_;
    std::vector<apfs::Metadata::VolumeFacts> volumes_;
    std::shared_ptr<std::exception_ptr> sourceError_; // what the last read beneath the library threw
    apfs::IoHandle io_;                               // outlives the container
    apfs::Container container_;
};

} // namespace hdi
