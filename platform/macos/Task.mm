#include "platform/Task.h"

#include "platform/base/MainQueue.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/PlatformException.h"

#import <Foundation/Foundation.h>

#include <crt_externs.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kChunk = 65536;

// Of a child whose end somebody else has collected. Not 0, which would say that all went well.
constexpr int kUnknownStatus = -1;

// Retries when a signal interrupts. -1 with errno on failure.
ssize_t readOnce(int descriptor, std::array<char, kChunk>& chunk) {
    ssize_t count = -1;
    do {
        count = ::read(descriptor, chunk.data(), chunk.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

void onHelperThread(void (^body)(void)) {
    [NSThread detachNewThreadWithBlock:body];
}

void setAttributes(posix_spawnattr_t& attributes) {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    // Descriptors that no action names are closed in the child.
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP |
                                                POSIX_SPAWN_CLOEXEC_DEFAULT);
}

// An errno value; 0 when the child runs.
int spawn(const QString& path, const QStringList& arguments, int standardOutput, pid_t& child) {
    std::vector<QByteArray> texts{path.toUtf8()};
    for (const QString& argument : arguments) {
        texts.push_back(argument.toUtf8());
    }
    std::vector<char*> words;
    for (QByteArray& text : texts) {
        words.push_back(text.data());
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
    setAttributes(attributes);
    ::posix_spawn_file_actions_addinherit_np(&actions, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, standardOutput, STDOUT_FILENO);
    ::posix_spawn_file_actions_addinherit_np(&actions, STDERR_FILENO);
    const int error = ::posix_spawn(&child, words[0], &actions, &attributes, words.data(), *_NSGetEnviron());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error;
}

} // namespace

QByteArray ReadingFileHandle::readDataToEndOfFile() {
    QByteArray data;
    std::array<char, kChunk> chunk;
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
    const auto self = shared_from_this();
    onHelperThread(^{
      std::array<char, kChunk> chunk;
      const ssize_t count = readOnce(self->file_.get(), chunk);
      const QByteArray data = count > 0 ? QByteArray(chunk.data(), count) : QByteArray("", 0);
      MainQueue::async([self, data] {
          NotificationCenter::defaultCenter().post(kFileHandleReadCompletion, static_cast<const void*>(self.get()),
                                                   {{kFileHandleNotificationDataItem, data}});
      });
    });
}

Pipe::Pipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw PlatformException::fileHandle(u"pipe"_s, errno);
    }
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    reading_ = std::make_shared<ReadingFileHandle>(base::Descriptor(ends[0]));
    writing_.reset(ends[1]);
}

Task::~Task() {
    if (pid_ > 0 && !collected_) {
        const pid_t child = pid_;
        onHelperThread(^{
          ::waitpid(child, nullptr, 0);
        });
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

void Task::start() {
    const int output = standardOutput_ ? standardOutput_->writing_.get() : STDOUT_FILENO;
    if (spawn(*launchPath_, arguments_, output, pid_) != 0) {
        pid_ = -1;
        throw PlatformException::invalidArgument(u"launch path not accessible"_s);
    }
    if (standardOutput_) {
        standardOutput_->writing_.reset();
    }
}

// Nothing is started ahead: the tools of this system have not been seen to hold up a start.
void Task::launchAhead(const QString&, const QStringList&) {}

bool Task::takeOver() {
    return false;
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
    if (ended != pid_) {
        status_ = kUnknownStatus;
        return;
    }
    status_ = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

int Task::terminationStatus() const {
    return status_;
}

void Task::notifyOnTermination() {
    const auto self = shared_from_this();
    const pid_t child = collected_ ? -1 : pid_;
    onHelperThread(^{
      siginfo_t information{};
      if (child > 0) {
          ::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT);
      }
      MainQueue::async([self] {
          self->waitUntilExit();
          NotificationCenter::defaultCenter().post(kTaskDidTerminate, static_cast<const void*>(self.get()));
      });
    });
}
