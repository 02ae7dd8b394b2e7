#include "platform/Task.h"

#include "base/ProcessIdentity.h"
#include "platform/RealPath.h"
#include "platform/base/MainQueue.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/PlatformException.h"
#include "platform/linux/Spawn.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kChunk = std::size_t{64} * 1024; // what a pipe holds
constexpr int kUnknownStatus = -1;

// Retries when a signal interrupts. -1 with errno on failure.
ssize_t readOnce(int descriptor, std::array<char, kChunk>& chunk) {
    ssize_t count = -1;
    do {
        count = ::read(descriptor, chunk.data(), chunk.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

void onHelperThread(std::function<void()> body) {
    try {
        std::thread(std::move(body)).detach();
    } catch (const std::system_error& error) {
        throw PlatformException(u"NSGenericException"_s,
                                u"no thread could be started: "_s + QString::fromLocal8Bit(error.what()));
    }
}

// Leaves the child to be collected by the task itself. Returns also when it was collected meanwhile.
void waitWithoutCollecting(pid_t child) {
    siginfo_t information{};
    while (::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
}

// A tool that runs ahead of the task that will want it.
struct AheadTask {
    std::shared_ptr<Task> task;
    std::future<void> started; // throws what starting it threw
};

struct Ahead {
    std::mutex mutex;
    std::vector<AheadTask> tasks;
};

Ahead& ahead() {
    static auto* const tasks = new Ahead; // never destroyed: whatever still runs at the end is left alone
    return *tasks;
}

// Our disk-image tool remembers for whom it attaches, and lets go once we are gone in whatever way. A process that
// cannot tell its own start time would count as gone at once.
QByteArray nameForDiskImageTool() {
    const base::ProcessIdentity self = base::ProcessIdentity::self();
    return self.started == 0 ? QByteArray()
                             : QByteArray::fromStdString(base::kAttachOwnerVariable + ('=' + base::textOf(self)));
}

PlatformException launchFailure(int error) {
    switch (error) {
    case EAGAIN:
    case ENOMEM:
    case EMFILE:
    case ENFILE:
    case E2BIG: // the path is fine, the system or the arguments are not
        return PlatformException::invalidArgument(u"Couldn't posix_spawn: error %1"_s.arg(error));
    default:
        return PlatformException::invalidArgument(u"launch path not accessible"_s);
    }
}

} // namespace

QByteArray ReadingFileHandle::readDataToEndOfFile() {
    QByteArray data;
    std::array<char, kChunk> chunk; // NOLINT: filled by read
    ssize_t count = 0;
    while ((count = readOnce(file_.get(), chunk)) > 0) {
        data.append(chunk.data(), count);
    }
    if (count < 0) {
        throw PlatformException::fileHandle(u"readDataToEndOfFile"_s, errno);
    }
    return data;
}

void ReadingFileHandle::readInBackgroundAndNotify() {
    onHelperThread([self = shared_from_this()] {
        std::array<char, kChunk> chunk; // NOLINT: filled by read
        const ssize_t count = readOnce(self->file_.get(), chunk);
        // A failed read ends the data as the end of file does.
        const QByteArray data = count > 0 ? QByteArray(chunk.data(), count) : QByteArray("", 0);
        MainQueue::async([self, data] {
            NotificationCenter::defaultCenter().post(kFileHandleReadCompletion, static_cast<const void*>(self.get()),
                                                     {{kFileHandleNotificationDataItem, data}});
        });
    });
}

Pipe::Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw PlatformException::fileHandle(u"pipe"_s, errno);
    }
    reading_ = std::make_shared<ReadingFileHandle>(base::Descriptor(ends[0]));
    writing_.reset(ends[1]);
}

Task::~Task() {
    if (pid_ > 0 && !collected_) {
        platform::collectInBackground(pid_);
    }
}

void Task::launchAhead(const QString& launchPath, const QStringList& arguments) {
    const auto task = std::make_shared<Task>();
    task->launchPath_ = launchPath;
    task->arguments_ = arguments;
    const std::lock_guard lock(ahead().mutex);
    try {
        task->standardOutput_ = std::make_shared<Pipe>();
        ahead().tasks.push_back({task, std::async(std::launch::async, [task] { task->start(); })});
    } catch (const PlatformException&) { // no descriptors for a pipe
    } catch (const std::system_error&) { // no thread
    }
}

void Task::launch() {
    if (!launchPath_) {
        throw PlatformException::invalidArgument(u"must provide a launch path"_s);
    }
    if (!takeOver()) {
        start();
    }
}

bool Task::takeOver() {
    const std::lock_guard lock(ahead().mutex);
    auto& tasks = ahead().tasks;
    const auto found = std::find_if(tasks.begin(), tasks.end(), [this](const AheadTask& other) {
        return other.task->launchPath_ == launchPath_ && other.task->arguments_ == arguments_;
    });
    if (!standardOutput_ || found == tasks.end()) {
        return false;
    }
    AheadTask other = std::move(*found);
    tasks.erase(found);
    try {
        other.started.get();
    } catch (const PlatformException&) {
        return false;
    }
    // Whoever reads may hold the handle already, so it is its descriptor that changes.
    const base::Descriptor& read = other.task->standardOutput_->reading_->file_;
    if (::dup3(read.get(), standardOutput_->reading_->file_.get(), O_CLOEXEC) < 0) {
        return false;
    }
    pid_ = std::exchange(other.task->pid_, -1);
    standardOutput_->writing_.reset();
    return true;
}

void Task::start() {
    platform::SpawnRequest request{.program = platform::realPath(*launchPath_), .arguments = arguments_};
    if (standardOutput_) {
        request.standardOutput = standardOutput_->writing_.get();
    }
    if (*launchPath_ == u"/usr/bin/hdiutil"_s) {
        request.variable = nameForDiskImageTool();
    }
    const auto child = platform::spawn(request);
    if (!child) {
        throw launchFailure(errno);
    }
    pid_ = *child;
    if (standardOutput_) {
        standardOutput_->writing_.reset();
    }
}

void Task::waitUntilExit() {
    if (pid_ <= 0 || collected_) {
        return;
    }
    int status = 0;
    pid_t ended = -1;
    do {
        ended = ::waitpid(pid_, &status, 0);
    } while (ended < 0 && errno == EINTR);
    collected_ = true;
    // Somebody else collected the child: how it ended is not known, so it does not count as a success.
    if (ended < 0) {
        status_ = kUnknownStatus;
    } else {
        status_ = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    }
}

int Task::terminationStatus() const {
    return status_;
}

void Task::notifyOnTermination() {
    onHelperThread([self = shared_from_this(), child = pid_, ended = collected_] {
        if (child > 0 && !ended) {
            waitWithoutCollecting(child);
        }
        MainQueue::async([self] {
            self->waitUntilExit();
            NotificationCenter::defaultCenter().post(kTaskDidTerminate, static_cast<const void*>(self.get()));
        });
    });
}
