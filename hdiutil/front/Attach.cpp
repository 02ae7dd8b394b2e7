#include "hdiutil/front/Attach.h"

#include "hdiutil/front/Abandoned.h"
#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/Daemon.h"
#include "hdiutil/front/ExtractedAttach.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/FuseServer.h"
#include "hdiutil/front/ImageCheck.h"
#include "hdiutil/front/MountPoints.h"
#include "hdiutil/front/PasswordPrompt.h"
#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace hdi {
namespace {

std::string licenceText(const DiskImage& image) {
    std::string text;
    for (const std::string& licence : image.licences()) {
        // Only the default language's: the others say the same.
        text = licence + (licence.ends_with('\n') ? "" : "\n");
        break;
    }
    return text;
}

// The application that says it is attaching.
std::optional<base::ProcessIdentity> namedOwner() {
    const char* const text = std::getenv(base::kAttachOwnerVariable);
    return text != nullptr ? base::parseProcessIdentity(text) : std::nullopt;
}

// Somebody more counts on what is attached already. Without a name that lasts for good.
void claim(const AttachedState& state, AttachRecord& record) {
    const std::optional<base::ProcessIdentity> owner = namedOwner();
    std::vector<base::ProcessIdentity> owners = record.owners;
    std::erase_if(owners, [&](const base::ProcessIdentity& other) { return !owner || !other.isAlive(); });
    if (owner && !record.owners.empty() && std::find(owners.begin(), owners.end(), *owner) == owners.end()) {
        owners.push_back(*owner);
    }
    if (owners != record.owners) {
        record.owners = std::move(owners);
        state.save(record);
    }
}

std::optional<AttachRecord> recordOf(const AttachedState& state, const ImageIdentity& identity) {
    for (AttachRecord& record : reapAndList(state)) {
        if (record.identity == identity) {
            return std::move(record);
        }
    }
    return std::nullopt;
}

std::optional<AttachResult> attachedBefore(const VolumesFolder& volumes, const ImageIdentity& identity) {
    std::optional<AttachedState> state(std::in_place, volumes);
    return findAttached(state, volumes, identity);
}

AttachResult attachOrFind(AttachOptions& options) {
    const ImageIdentity identity = requireIdentity(options.imagePath);
    const VolumesFolder volumes = VolumesFolder::open();
    if (std::optional<AttachResult> before = attachedBefore(volumes, identity)) {
        return *before;
    }
    options.password = passwordFor("attach", options.imagePath, options.passwordFromInput);
    if (isFuseUsable()) {
        if (std::optional<AttachResult> result = attachThroughDaemon(options, volumes)) {
            return *result;
        }
    }
    return attachByExtracting(options, volumes);
}

} // namespace

PreparedImage prepareImage(const AttachOptions& options) {
    PreparedImage prepared;
    ReadOptions reading;
    reading.password = options.password.get();
    prepared.opened = openImage(options.imagePath, reading);
    if (options.password) {
        options.password->wipe();
    }
    const CheckTime time = checkTimeFor(prepared.opened.image->facts(), options.verify);
    const std::string damage = time == CheckTime::kBefore ? checkImage(*prepared.opened.image) : std::string();
    if (!damage.empty()) {
        throw AttachError("image data corrupted (" + damage + ")");
    }
    prepared.checkBeside = time == CheckTime::kBeside;
    try {
        prepared.messages = licenceText(*prepared.opened.image) + prepared.opened.warnings;
    } catch (const ImageError& error) { // a text that cannot be read does not make the files unusable
        prepared.messages =
            std::string("hdiutil: warning: licence - ") + error.what() + "\n" + prepared.opened.warnings;
    }
    return prepared;
}

std::optional<AttachResult> findAttached(std::optional<AttachedState>& state, const VolumesFolder& volumes,
                                         const ImageIdentity& identity) {
    for (;;) {
        std::optional<AttachRecord> record = recordOf(*state, identity);
        if (!record) {
            return std::nullopt;
        }
        if (!record->damage.empty()) {
            throw AttachError("image data corrupted (" + record->damage + "); still attached as " + record->diskName());
        }
        if (record->complete) {
            claim(*state, *record);
            return AttachResult{record->rows, "", false};
        }
        const base::Descriptor reservation = state->openRecord(*record);
        state.reset();
        waitUntilDone(reservation);
        state.emplace(volumes);
    }
}

AttachRecord newRecord(const AttachOptions& options, const ImageIdentity& identity, int disk, AttachMethod method) {
    AttachRecord record;
    record.disk = disk;
    record.imagePath = options.imagePath;
    record.identity = identity;
    record.method = method;
    record.process = base::ProcessIdentity::self();
    if (const auto owner = namedOwner()) {
        record.owners.push_back(*owner);
    }
    record.boot = bootId();
    return record;
}

ImageIdentity requireIdentity(const std::string& path) {
    const std::optional<ImageIdentity> identity = identityOf(path);
    if (!identity) {
        const bool noFile = errno == EISDIR || errno == EINVAL;
        throw AttachError((noFile ? "image not recognized" : errorText(errno)));
    }
    return *identity;
}

AttachResult attachImage(AttachOptions options) {
    AttachResult result = attachOrFind(options);
    if (!result.isNew && options.mountPoint && !isMountedAt(result.rows, *options.mountPoint)) {
        throw AttachError("already attached as " + result.rows.front().device +
                          "; detach it to have it at another mount point");
    }
    return result;
}

} // namespace hdi
