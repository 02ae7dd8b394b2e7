#pragma once

#include "base/Descriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <memory>
#include <optional>

// The reading end of a pipe. Notifications name it by its pointer.
class ReadingFileHandle : public std::enable_shared_from_this<ReadingFileHandle> {
public:
    explicit ReadingFileHandle(base::Descriptor file) : file_(std::move(file)) {}
    ReadingFileHandle(const ReadingFileHandle&) = delete;
    ReadingFileHandle& operator=(const ReadingFileHandle&) = delete;

    // Blocks until end of file. Throws PlatformException when reading fails.
    QByteArray readDataToEndOfFile();

    // Reads once on a helper thread, then posts NSFileHandleReadCompletionNotification on the main thread with the
    // chunk, empty at end of file. One notification per call; call again for the next chunk.
    void readInBackgroundAndNotify();

private:
    friend class Task;
    base::Descriptor file_;
};

// A pipe for a child's standard output. The task that is given it closes its writing end in this process after the
// launch; otherwise end of file would never come.
class Pipe {
public:
    // Throws PlatformException when the kernel gives no descriptors.
    Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    const std::shared_ptr<ReadingFileHandle>& fileHandleForReading() const { return reading_; }

private:
    friend class Task;
    std::shared_ptr<ReadingFileHandle> reading_;
    base::Descriptor writing_;
};

// A child process. No shell, no search through PATH, arguments verbatim; standard input and error, environment and
// folder are inherited, only descriptors 0 to 2 reach the child, in a process group of its own.
//
// Threads: one at a time.
class Task : public std::enable_shared_from_this<Task> {
public:
    // Starts a tool whose output is sure to be wanted soon, so that it works while this program does something else.
    // The next task with the same path and arguments and with a pipe takes the running tool over instead of starting it
    // again, and waits for its start. Never throws: what cannot be started now fails when that task is launched. Any
    // thread, and not on it: the tool is started on one of its own.
    static void launchAhead(const QString& launchPath, const QStringList& arguments);

    Task() = default;
    // A child that still runs is left alone; it is collected when it ends.
    ~Task();
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    void setLaunchPath(const std::optional<QString>& path) { launchPath_ = path; }
    void setArguments(const QStringList& arguments) { arguments_ = arguments; }
    void setStandardOutput(std::shared_ptr<Pipe> pipe) { standardOutput_ = std::move(pipe); }

    // The launch path is plain; it is mapped here. Throws PlatformException (NSInvalidArgumentException): "must provide
    // a launch path", or "launch path not accessible" for a missing file, a folder, no permission, or a program that
    // this system cannot run.
    void launch();
    void waitUntilExit();
    // The exit code, or the number of the signal that ended the child. After waitUntilExit().
    int terminationStatus() const;

    // Posts NSTaskDidTerminateNotification on the main thread once, with this task's pointer and no user info, after
    // the child has ended; also when it ended before this call.
    void notifyOnTermination();

private:
    bool takeOver();
    void start();

    std::optional<QString> launchPath_;
    QStringList arguments_;
    std::shared_ptr<Pipe> standardOutput_;
    pid_t pid_ = -1;
    int status_ = 0;
    bool collected_ = false;
};
