#pragma once

#include <QString>

#include <sys/types.h>

#include <vector>

// Applications of this user that run now. Main thread.
class RunningApplication {
public:
    // For our own identifier: the copies of this program, this one included, newest first, so that index 1 is the
    // earlier copy; listing puts this process on the list, under the same lock. For another identifier: processes of
    // this user whose executable (for a script, its first argument) lies in a bundle with that identifier, newest
    // first.
    static std::vector<RunningApplication> withBundleIdentifier(const QString& identifier);

    RunningApplication(pid_t pid, bool isOwnCopy) : pid_(pid), isOwnCopy_(isOwnCopy) {}

    // Unknown counts as not active.
    bool isActive() const;
    // Asks for all windows of the application to be brought to the front. A refusal is not reported.
    void activateAllWindows() const;

private:
    pid_t pid_;
    [[maybe_unused]] bool isOwnCopy_; // asked on Linux only
};
