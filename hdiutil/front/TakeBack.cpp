#include "hdiutil/front/TakeBack.h"

#include "hdiutil/front/BusyProcesses.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/MountControl.h"
#include "hdiutil/front/MountPoints.h"
#include "hdiutil/front/Reaper.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <utility>
#include <vector>

namespace hdi {
namespace {

namespace fs = std::filesystem;

constexpr int kEndOfDaemonMs = 5000;

bool waitForEnd(const base::Descriptor& process) {
    pollfd waiting{process.get(), POLLIN, 0};
    return !process || poll(&waiting, 1, kEndOfDaemonMs) == 1;
}

// Takes back the rows of one record that were asked for.
class Detacher {
public:
    Detacher(const AttachedState& state, AttachRecord record, const std::optional<std::string>& device,
             const DetachOptions& options)
        : state_(state), record_(std::move(record)), options_(options) {
        for (const AttachedRow& row : record_.rows) {
            const bool asked = options.wholeDisk || !device || row.device == *device;
            if (asked && row.isMounted()) {
                asked_.push_back(row);
            }
        }
    }

    void run() {
        if (!isLive(record_)) {
            finishWhole();
            return;
        }
        if (!record_.complete) {
            failBusy(record_.diskName());
        }
        record_.method == AttachMethod::kFuse ? detachFuse() : detachExtracted();
    }

private:
    bool isEverything() const {
        const auto mounted = std::count_if(record_.rows.begin(), record_.rows.end(),
                                           [](const AttachedRow& row) { return row.isMounted(); });
        return asked_.size() == static_cast<std::size_t>(mounted);
    }

    std::string busyName() const { return options_.wholeDisk ? record_.diskName() : asked_.front().device.substr(5); }

    void detachFuse() {
        const base::Descriptor daemon = record_.process.open();
        bool elsewhere = false;
        for (const AttachedRow& row : asked_) {
            const int error = unmountFuse(row.realPath, options_.force ? UnmountWay::kDetached : UnmountWay::kIfUnused);
            elsewhere = elsewhere || error == EINVAL;
            if (error == EBUSY) {
                failBusy(busyName());
            }
        }
        if (!isEverything()) {
            forgetAsked();
            return;
        }
        endDaemon(daemon, elsewhere);
        finishWhole();
    }

    // The daemon ends by itself when its last volume is unmounted and closed.
    void endDaemon(const base::Descriptor& daemon, bool elsewhere) {
        if (options_.force && daemon) {
            syscall(SYS_pidfd_send_signal, daemon.get(), SIGKILL, nullptr, 0);
        }
        if (waitForEnd(daemon)) {
            return;
        }
        if (elsewhere) { // mounted in another mount namespace, where somebody may be using it
            failBusy(record_.diskName());
        }
        syscall(SYS_pidfd_send_signal, daemon.get(), SIGKILL, nullptr, 0);
        waitForEnd(daemon);
    }

    void detachExtracted() {
        const auto inUse = [](const AttachedRow& row) {
            std::error_code error;
            return isFolderInUse(fs::canonical(row.dataPath, error).string());
        };
        if (!options_.force && std::any_of(asked_.begin(), asked_.end(), inUse)) {
            failBusy(busyName());
        }
        isEverything() ? finishWhole() : forgetAsked();
    }

    void finishWhole() {
        if (!cleanUp(state_, record_) && record_.method == AttachMethod::kExtracted) {
            throw FrontError("detach failed - some extracted files could not be removed");
        }
    }

    void forgetAsked() {
        for (AttachedRow& row : record_.rows) {
            const bool asked = std::find(asked_.begin(), asked_.end(), row) != asked_.end();
            if (asked) {
                removeMountPoint(row);
                row.shownPath = row.realPath = row.dataPath = "";
            }
        }
        state_.save(record_);
    }

    const AttachedState& state_;
    AttachRecord record_;
    const DetachOptions& options_;
    std::vector<AttachedRow> asked_;
};

} // namespace

void failBusy(const std::string& name) {
    throw FrontError("couldn't unmount \"" + name + "\" - Resource busy", kStatusBusy);
}

void takeBack(const AttachedState& state, AttachRecord record, const std::optional<std::string>& device,
              const DetachOptions& options) {
    Detacher(state, std::move(record), device, options).run();
}

} // namespace hdi
