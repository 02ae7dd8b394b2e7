#include "hdiutil/front/Reaper.h"

#include "hdiutil/front/MountControl.h"
#include "hdiutil/front/MountPoints.h"

#include <algorithm>
#include <filesystem>

namespace hdi {
namespace {

namespace fs = std::filesystem;

bool isWhole(const AttachedRow& row) {
    std::error_code error;
    return !row.isMounted() || (fs::read_symlink(row.realPath, error) == row.dataPath &&
                                fs::is_directory(fs::symlink_status(row.dataPath, error)));
}

} // namespace

bool isLive(const AttachRecord& record) {
    if (record.boot != bootId()) {
        return false;
    }
    if (record.method == AttachMethod::kFuse || !record.complete) {
        return record.process.isAlive();
    }
    return std::all_of(record.rows.begin(), record.rows.end(), isWhole);
}

bool cleanUp(const AttachedState& state, const AttachRecord& record) {
    bool clean = true;
    for (const AttachedRow& row : record.rows) {
        if (row.isMounted() && row.dataPath.empty() && isMounted(row.realPath)) {
            unmountFuse(row.realPath, UnmountWay::kDetached);
        }
        clean = removeMountPoint(row) && clean;
    }
    // After a restart an entry of the same name may be somebody else's; then it stays, and the record still goes.
    const bool keepRecord = !clean && record.boot == bootId() && record.method == AttachMethod::kExtracted;
    if (!keepRecord) {
        state.remove(record);
    }
    return clean;
}

} // namespace hdi
