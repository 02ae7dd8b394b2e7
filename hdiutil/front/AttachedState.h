#pragma once

#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/UniqueFd.h"
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
    UniqueFd reserve(const AttachRecord& record) const;
    void remove(const AttachRecord& record) const;
    // A handle for waitUntilDone(), to be used after this object is gone.
    UniqueFd openRecord(const AttachRecord& record) const;

private:
    AttachedState(const VolumesFolder& volumes, bool wait);
    bool acquire(bool wait);
    std::string recordPath(int disk) const;
    UniqueFd write(const AttachRecord& record) const;

    std::string folder_;
    UniqueFd lock_;
};

// Returns when the process that holds the reservation has finished, in whatever way.
void waitUntilDone(const UniqueFd& reservation);

} // namespace hdi
