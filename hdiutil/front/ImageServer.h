#pragma once

#include "hdiutil/front/Attach.h"
#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/DaemonReport.h"
#include "hdiutil/front/FuseServer.h"

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace hdi {

// The daemon's work: one image, one FuseServer per volume, the check beside the reads, and cleaning up at the end.
//
// Threads: all functions on one thread.
class ImageServer {
public:
    ImageServer(const AttachOptions& options, const VolumesFolder& volumes);
    ImageServer(const ImageServer&) = delete;
    ImageServer& operator=(const ImageServer&) = delete;
    ~ImageServer();

    // Opens, checks, mounts and notes the image. Never throws: failures are in the report. What was mounted stays
    // locked until serve(): nobody else is told of it before it is known that the report was received.
    DaemonReport attach();
    // False after attach() when the image turned out to be attached already.
    // Returns when every volume has been unmounted or the process was told to end; what was left is cleaned up then.
    // `received` false means that whoever asked for the image is gone: it is unmounted at once.
    void serve(bool received);

private:
    DaemonReport attachOrFail();
    DaemonReport attachOrThrow();
    bool mountAll();
    void startAll();
    void unmountAll();
    void startBeside();
    void workBeside();
    void widenAll();
    void check();
    void noteDamage(const std::string& damage);
    void waitForEnd();
    void takeBack();

    const AttachOptions& options_;
    const VolumesFolder& volumes_;
    PreparedImage prepared_;
    AttachRecord record_;
    std::optional<AttachedState> state_;
    std::vector<std::unique_ptr<FuseServer>> servers_;
    std::atomic<std::size_t> running_ = 0;
};

} // namespace hdi
