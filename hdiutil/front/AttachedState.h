#pragma once

#include "base/Descriptor.h"
#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/VolumesFolder.h"

#include <optional>
#include <string>
#include <vector>

namespace hdi {

// The records of all attached images, kept in a hidden folder inside the volumes folder, under one lock: an object of
// this class is the lock, for threads and processes alike. The folder goes when the last record goes.
class AttachedState {
public:
    // Waits for the lock. Throws FrontError when the folder cannot be made or belongs to somebody else.
    explicit AttachedState(const VolumesFolder& volumes);
    // Does not wait: absent when somebody else holds the lock.
    static std::optional<AttachedState> tryLock(const VolumesFolder& volumes);
    AttachedState(AttachedState&&) = default;
    AttachedState& operator=(AttachedState&&) = delete;
    ~AttachedState();

    // In the order of disk numbers; files that are no records are removed.
    std::vector<AttachRecord> records() const;
    int firstFreeDisk() const;
    // Throws FrontError when it cannot be written, and then leaves what was there.
    void save(const AttachRecord& record) const;
    // The same for a record that is incomplete: as long as the result is open, waitFor() waits.
    base::Descriptor reserve(const AttachRecord& record) const;
    void remove(const AttachRecord& record) const;
    // A handle for waitUntilDone(), to be used after this object is gone.
    base::Descriptor openRecord(const AttachRecord& record) const;

private:
    AttachedState(const VolumesFolder& volumes, bool wait);
    bool acquire(bool wait);
    std::string recordPath(int disk) const;
    base::Descriptor write(const AttachRecord& record) const;

    std::string folder_;
    base::Descriptor lock_;
};

// Returns when the process that holds the reservation has finished, in whatever way.
void waitUntilDone(const base::Descriptor& reservation);

} // namespace hdi
