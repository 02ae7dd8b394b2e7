#include "platform/RunningApplications.h"

#include "platform/Bundle.h"
#include "platform/linux/CopyRegistry.h"
#include "platform/linux/ProcessTable.h"
#include "platform/linux/SessionBus.h"
#include "platform/linux/WindowManager.h"

#include <QVariantMap>

using namespace Qt::StringLiterals;

std::vector<RunningApplication> RunningApplication::withBundleIdentifier(const QString& identifier) {
    const bool isOwn = identifier == Bundle::mainBundle().bundleIdentifier();
    const std::vector<pid_t> processes =
        isOwn ? platform::registerAndListCopies(identifier) : platform::processesWithBundleIdentifier(identifier);
    std::vector<RunningApplication> applications;
    applications.reserve(processes.size());
    for (const pid_t process : processes) {
        applications.emplace_back(process, isOwn);
    }
    return applications;
}

bool RunningApplication::isActive() const {
    return platform::processOfActiveWindow() == pid_;
}

// Where windows of others are out of reach (Wayland), our own copy raises its windows itself.
void RunningApplication::activateAllWindows() const {
    if (!platform::activateWindowsOfProcess(pid_) && isOwnCopy_) {
        platform::callRunningCopy(u"Activate"_s, {QVariantMap()});
    }
}
