#include "platform/RunningApplications.h"

#include "platform/Bundle.h"

#import <AppKit/AppKit.h>

// In the order in which the system gives them.
std::vector<RunningApplication> RunningApplication::withBundleIdentifier(const QString& identifier) {
    const bool isOwn = identifier == Bundle::mainBundle().bundleIdentifier();
    std::vector<RunningApplication> applications;
    for (NSRunningApplication* application in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier.toNSString()]) {
        applications.emplace_back(application.processIdentifier, isOwn);
    }
    return applications;
}

bool RunningApplication::isActive() const {
    return [NSRunningApplication runningApplicationWithProcessIdentifier:pid_].active;
}

void RunningApplication::activateAllWindows() const {
    [[NSRunningApplication runningApplicationWithProcessIdentifier:pid_]
        activateWithOptions:NSApplicationActivateAllWindows];
}
