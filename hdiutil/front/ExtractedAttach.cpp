#include "hdiutil/front/ExtractedAttach.h"

#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/Extraction.h"
#include "hdiutil/front/Extractor.h"
#include "hdiutil/front/FileTree.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/MountPoints.h"
#include "hdiutil/front/Reaper.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace hdi {
namespace {

// A private folder for the volumes, removed with the object unless it is kept.
class DataFolder {
public:
    DataFolder() : path_(temporaryFolder() + "/hdiutil-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            throw AttachError(errorText(errno) + " (" + temporaryFolder() + ")");
        }
    }
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;
    ~DataFolder() {
        if (!kept_) {
            removeTree(path_);
        }
    }

    const std::string& path() const { return path_; }
    void keep() { kept_ = true; }

private:
    std::string path_;
    bool kept_ = false;
};

void extractOne(const Volume& volume, const std::string& dataFolder, const std::string& target,
                const std::atomic<bool>& stop) {
    const std::string incomplete = incompletePath(dataFolder);
    if (mkdir(incomplete.c_str(), 0700) != 0) {
        throw AttachError(errorText(errno));
    }
    extractVolume(volume, incomplete, stop);
    if (rename(incomplete.c_str(), target.c_str()) != 0) {
        throw AttachError(errorText(errno));
    }
}

void extractAll(const PreparedImage& prepared, const std::vector<AttachedRow>& rows, const std::string& dataFolder) {
    extractChecked(prepared, [&](const std::atomic<bool>& stop) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (prepared.opened.slots[i].volume) {
                extractOne(*prepared.opened.slots[i].volume, dataFolder, rows[i].dataPath, stop);
            }
        }
    });
}

// The reservation of an image that is being extracted; without commit() it leaves nothing.
class Reservation {
public:
    Reservation(const AttachedState& state, AttachRecord record, const VolumesFolder& volumes)
        : volumes_(volumes), record_(std::move(record)), file_(state.reserve(record_)) {}
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;
    ~Reservation() {
        if (!committed_) {
            cleanUp(AttachedState(volumes_), record_);
        }
    }

    void commit() {
        record_.complete = true;
        AttachedState(volumes_).save(record_);
        committed_ = true;
    }

private:
    const VolumesFolder& volumes_;
    AttachRecord record_;
    base::Descriptor file_;
    bool committed_ = false;
};

} // namespace

AttachResult attachByExtracting(const AttachOptions& options, const VolumesFolder& volumes) {
    catchInterruptions();
    const ImageIdentity identity = requireIdentity(options.imagePath);
    PreparedImage prepared = prepareImage(options);
    DataFolder data;
    std::optional<AttachedState> state(std::in_place, volumes);
    if (std::optional<AttachResult> before = findAttached(state, volumes, identity)) {
        return *before;
    }
    AttachRecord record = newRecord(options, identity, state->firstFreeDisk(), AttachMethod::kExtracted);
    MountPoints points(prepared.opened, record.disk, volumes, options.mountPoint, data.path());
    record.complete = false;
    record.rows = points.rows();
    Reservation reservation(*state, record, volumes);
    state.reset();
    extractAll(prepared, record.rows, data.path());
    reservation.commit();
    points.keep();
    data.keep();
    return {record.rows, prepared.messages, true};
}

} // namespace hdi
