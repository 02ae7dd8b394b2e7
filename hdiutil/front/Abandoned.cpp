#include "hdiutil/front/Abandoned.h"

#include "base/VolumesFolder.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/Reaper.h"
#include "hdiutil/front/TakeBack.h"
#include "hdiutil/front/VolumesFolder.h"

#include <filesystem>
#include <optional>
#include <system_error>

namespace hdi {
namespace {

bool isTakenBack(const AttachedState& state, const AttachRecord& record) {
    if (!isLive(record)) {
        cleanUp(state, record);
        return true;
    }
    if (!record.complete || !record.isAbandoned()) {
        return false;
    }
    try {
        takeBack(state, record, std::nullopt, {.target = record.diskName()});
        return true;
    } catch (const FrontError&) { // in use, which is no concern of whoever came by
        return false;
    }
}

} // namespace

std::vector<AttachRecord> reapAndList(const AttachedState& state) {
    std::vector<AttachRecord> live;
    for (AttachRecord& record : state.records()) {
        if (!isTakenBack(state, record)) {
            live.push_back(std::move(record));
        }
    }
    return live;
}

void reapBeside() {
    try {
        std::error_code error;
        if (!std::filesystem::exists(base::volumesFolder().path + '/' + base::kAttachedStateFolder, error)) {
            return;
        }
        if (const std::optional<AttachedState> state = AttachedState::tryLock(VolumesFolder::open())) {
            reapAndList(*state);
        }
    } catch (const FrontError&) { // nothing that concerns this verb
    }
}

} // namespace hdi
