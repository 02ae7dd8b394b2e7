#include "hdiutil/front/Daemon.h"

#include "base/Descriptor.h"
#include "base/Files.h"
#include "hdiutil/front/Abandoned.h"
#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/DaemonReport.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImageServer.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>

namespace hdi {
namespace {

// Everything above standard error but the pipe to the parent.
void closeOthers(int kept) {
    constexpr unsigned kFirst = STDERR_FILENO + 1;
    const auto keep = static_cast<unsigned>(kept);
    if (keep > kFirst) {
        close_range(kFirst, keep - 1, 0);
    }
    close_range(std::max(keep + 1, kFirst), ~0U, 0);
}

// The caller's terminal, descriptors, working folder and signal settings are none of ours from here on. False, with
// errno set, when they cannot be left: whoever reads the caller's output would wait for its end as long as we live.
bool leaveCaller(int kept) {
    setsid();
    (void)!chdir("/");
    base::Descriptor null(::open("/dev/null", O_RDWR | O_CLOEXEC));
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (dup2(null.get(), fd) < 0) {
            return false;
        }
    }
    null.reset();
    closeOthers(kept);
    prctl(PR_SET_NAME, "hdiutil");
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGCHLD}) {
        std::signal(signal, SIG_DFL); // NOLINT(cert-err33-c): these can always be set
    }
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c)
    return true;
}

[[noreturn]] void runDaemon(const AttachOptions& options, const VolumesFolder& volumes, base::Descriptor pipe) {
    if (!leaveCaller(pipe.get())) {
        DaemonReport report;
        report.message = AttachError(errorText(errno)).what();
        (void)base::writeAll(pipe.get(), serialize(report));
        _exit(0);
    }
    ImageServer server(options, volumes);
    const DaemonReport report = server.attach();
    const bool received = base::writeAll(pipe.get(), serialize(report));
    pipe.reset();
    if (report.kind == DaemonReport::Kind::kAttached) {
        server.serve(received);
    }
    // Threads may still be in the middle of a request or of a checksum; there is nothing left that they are needed for.
    _exit(0);
}

std::string readAll(int fd) {
    std::string bytes;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count > 0) {
            bytes.append(buffer, static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return bytes;
        }
    }
}

void reap(pid_t child) {
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

std::optional<AttachResult> attachThroughDaemon(const AttachOptions& options, const VolumesFolder& volumes) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw AttachError(errorText(errno));
    }
    base::Descriptor reading(ends[0]);
    base::Descriptor writing(ends[1]);
    const pid_t child = fork();
    if (child < 0) {
        throw AttachError(errorText(errno));
    }
    if (child == 0) {
        reading.reset();
        runDaemon(options, volumes, std::move(writing));
    }
    writing.reset();
    std::optional<DaemonReport> report = parseReport(readAll(reading.get()));
    if (report && report->kind == DaemonReport::Kind::kAttached) {
        return AttachResult{std::move(report->rows), std::move(report->messages), true};
    }
    if (!report) {
        kill(child, SIGTERM); // should it be serving what nobody will ever hear of
    }
    reap(child);
    if (report && report->kind == DaemonReport::Kind::kFound) {
        return AttachResult{std::move(report->rows), std::move(report->messages), false};
    }
    if (report && report->kind == DaemonReport::Kind::kNoFuse) {
        return std::nullopt;
    }
    if (report) {
        throw FrontError(report->message);
    }
    reapAndList(AttachedState(volumes)); // it could not clean up itself
    throw AttachError("the program that serves the image ended unexpectedly");
}

} // namespace hdi
