#include "platform/RunningApplications.h"

#include "platform/Bundle.h"

#import <AppKit/AppKit.h>

#include <algorithm>

namespace {

// Seconds since 2001. One that the system did not launch itself tells no date: it counts as the oldest.
double launchTime(NSRunningApplication* application) {
    NSDate* const date = application.launchDate;
    return (date ? date : [NSDate distantPast]).timeIntervalSinceReferenceDate;
}

} // namespace

// The system gives them in no particular order.
std::vector<RunningApplication> RunningApplication::withBundleIdentifier(const QString& identifier) {
    const bool isOwn = identifier == Bundle::mainBundle().bundleIdentifier();
    std::vector<NSRunningApplication*> native;
    for (NSRunningApplication* application in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier.toNSString()]) {
        native.push_back(application);
    }
    std::stable_sort(native.begin(), native.end(), [](NSRunningApplication* left, NSRunningApplication* right) {
        return launchTime(left) > launchTime(right);
    });
    std::vector<RunningApplication> applications;
    for (NSRunningApplication* application : native) {
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
