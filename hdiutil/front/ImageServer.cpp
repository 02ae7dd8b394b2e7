#include "hdiutil/front/ImageServer.h"

#include "base/Descriptor.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImageCheck.h"
#include "hdiutil/front/MountControl.h"
#include "hdiutil/front/MountPoints.h"
#include "hdiutil/front/Reaper.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <new>
#include <system_error>
#include <thread>

namespace hdi {
namespace {

constexpr int kVolumeEnded = SIGUSR1; // a volume's loop tells the waiting thread

sigset_t awaitedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, kVolumeEnded}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

// Opening goes through the kernel to our own threads and back.
bool mountAnswers(const std::string& folder) {
    return static_cast<bool>(base::Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

} // namespace

ImageServer::ImageServer(const AttachOptions& options, const VolumesFolder& volumes)
    : options_(options), volumes_(volumes) {
    // Blocked before the first thread exists, so that all of them inherit it and only waitForEnd() gets them.
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // Many threads that each decode into big buffers would make as many heaps that never shrink.
    constexpr int kHeaps = 2;
    mallopt(M_ARENA_MAX, kHeaps);
}

ImageServer::~ImageServer() = default;

DaemonReport ImageServer::attach() {
    DaemonReport report = attachOrFail();
    if (servers_.empty()) { // nothing of ours is attached that others would have to wait for
        state_.reset();
    }
    return report;
}

DaemonReport ImageServer::attachOrFail() {
    DaemonReport report;
    try {
        return attachOrThrow();
    } catch (const FrontError& error) {
        report.message = error.what();
    } catch (const std::bad_alloc&) {
        report.message = AttachError("Cannot allocate memory").what();
    } catch (const std::exception& error) {
        report.message = AttachError(error.what()).what();
    }
    return report;
}

DaemonReport ImageServer::attachOrThrow() {
    const ImageIdentity identity = requireIdentity(options_.imagePath);
    prepared_ = prepareImage(options_);
    state_.emplace(volumes_);
    if (std::optional<AttachResult> before = findAttached(state_, volumes_, identity)) {
        return {DaemonReport::Kind::kFound, "", before->rows, before->messages};
    }
    record_ = newRecord(options_, identity, state_->firstFreeDisk(), AttachMethod::kFuse);
    MountPoints points(prepared_.opened, record_.disk, volumes_, options_.mountPoint);
    record_.rows = points.rows();
    state_->save(record_); // before anything is mounted: should we die now, others know what to take back
    try {
        if (mountAll()) {
            startAll();
            points.keep();
            return {DaemonReport::Kind::kAttached, "", record_.rows, prepared_.messages};
        }
    } catch (...) {
        unmountAll();
        throw;
    }
    unmountAll();
    return {DaemonReport::Kind::kNoFuse, "", {}, ""};
}

// Before the mount points are removed.
void ImageServer::unmountAll() {
    servers_.clear();
    state_->remove(record_);
}

bool ImageServer::mountAll() {
    for (std::size_t i = 0; i < record_.rows.size(); ++i) {
        const AttachedRow& row = record_.rows[i];
        if (!row.isMounted()) {
            continue;
        }
        servers_.push_back(std::make_unique<FuseServer>(*prepared_.opened.slots[i].volume));
        if (!servers_.back()->mount(row.realPath, row.device)) {
            return false;
        }
    }
    return true;
}

void ImageServer::startAll() {
    running_ = servers_.size();
    for (const auto& server : servers_) {
        server->start([this] {
            --running_;
            kill(getpid(), kVolumeEnded);
        });
    }
    for (const AttachedRow& row : record_.rows) {
        if (row.isMounted() && !mountAnswers(row.realPath)) {
            throw AttachError("the mounted volume does not answer");
        }
    }
}

void ImageServer::serve(bool received) {
    if (received) {
        state_.reset();
        startBeside();
        waitForEnd();
    }
    takeBack();
}

void ImageServer::startBeside() {
    try {
        std::thread([this] { workBeside(); }).detach(); // the process ends without waiting for it
    } catch (const std::system_error&) {
        workBeside(); // an end signal waits until it is done
    }
}

// What takes milliseconds or seconds must not stand in the way of the first file, for which somebody is waiting now.
void ImageServer::workBeside() {
    constexpr auto kFirstReads = std::chrono::milliseconds(50);
    constexpr int kLowest = 19;
    std::this_thread::sleep_for(kFirstReads);
    (void)setpriority(PRIO_PROCESS, 0, kLowest); // on Linux each thread has a priority of its own
    widenAll();
    if (prepared_.checkBeside) {
        check();
    }
}

void ImageServer::widenAll() {
    for (const AttachedRow& row : record_.rows) {
        if (row.isMounted()) {
            widenReadAhead(row.realPath);
        }
    }
}

void ImageServer::waitForEnd() {
    const sigset_t signals = awaitedSignals();
    int signal = kVolumeEnded;
    while (signal == kVolumeEnded && running_ > 0) {
        sigwait(&signals, &signal);
    }
}

void ImageServer::check() {
    const std::string damage = checkImage(*prepared_.opened.image);
    if (damage.empty()) {
        return;
    }
    for (const auto& server : servers_) {
        server->damaged();
    }
    syslog(LOG_USER | LOG_ERR, "hdiutil: %s: image data corrupted (%s); its volumes give errors from now on",
           options_.imagePath.c_str(), damage.c_str());
    noteDamage(damage);
}

// `info` tells it, and attaching the image again fails.
void ImageServer::noteDamage(const std::string& damage) {
    try {
        const AttachedState state(volumes_);
        for (AttachRecord& record : state.records()) {
            if (record.disk == record_.disk && record.process == record_.process) {
                record.damage = damage;
                state.save(record);
            }
        }
    } catch (const FrontError& error) {
        syslog(LOG_USER | LOG_ERR, "hdiutil: %s", error.what());
    }
}

// Whoever detaches holds the lock and cleans up; only for an unmount by other means is that left to us. When nobody
// received the report, the lock is still ours, so that nobody is told of a volume that goes.
void ImageServer::takeBack() {
    for (const AttachedRow& row : record_.rows) {
        if (row.isMounted() && isMounted(row.realPath)) {
            unmountFuse(row.realPath, UnmountWay::kDetached);
        }
    }
    try {
        const std::optional<AttachedState> state =
            state_ ? std::optional(std::move(*state_)) : AttachedState::tryLock(volumes_);
        for (const AttachRecord& record : state ? state->records() : std::vector<AttachRecord>()) {
            if (record.disk == record_.disk && record.process == record_.process) {
                cleanUp(*state, record);
            }
        }
    } catch (const FrontError& error) {
        syslog(LOG_USER | LOG_ERR, "hdiutil: %s", error.what());
    }
}

} // namespace hdi
