// Foundation's and AppKit's services. They answer with what a case has set.
#import "Facts.h"
#import "Standins.h"

#import <QuartzCore/QuartzCore.h>

#import <AppKit/AppKit.h>
#import <SystemConfiguration/SystemConfiguration.h>

#include <mach-o/arch.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>

using namespace Qt::StringLiterals;
using standins::arrayOf;
using standins::kept;
using standins::keeping;
using standins::stringOf;
using standins::textOf;

extern "C" void* _Block_copy(const void*);

@implementation NSThread
+ (void)detachNewThreadWithBlock:(void (^)(void))block {
    auto const copy = (void (^)(void))_Block_copy((const void*)block);
    std::thread([copy] { copy(); }).detach();
}
@end

// As macOS writes it, but for the thread's number behind the process's.
void NSLog(NSString* format, ...) {
    if (![format isEqualToString:@"%@"]) {
        std::abort();
    }
    va_list arguments;
    va_start(arguments, format);
    NSString* const text = va_arg(arguments, NSString*);
    va_end(arguments);
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    const std::time_t seconds = millis / 1000;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::fprintf(stderr, "%s.%03d QNInstaller[%d] %s\n", day.data(), static_cast<int>(millis % 1000), ::getpid(),
                 textOf(text).toUtf8().constData());
}

NSString* NSHomeDirectory() {
    return stringOf(facts().homeFolder);
}
NSString* NSUserName() {
    return stringOf(facts().userName);
}
NSString* NSTemporaryDirectory() {
    const QString folder = facts().temporaryFolder;
    return stringOf(folder.isEmpty() ? qEnvironmentVariable("TMPDIR") + u'/' : folder);
}

// An object's place is its address; the flags are asked for later.
const CFAllocatorRef kCFAllocatorDefault = nullptr;
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(CFAllocatorRef, const sockaddr* address) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(address);
    const bool isAny = std::all_of(bytes + 2, bytes + 16, [](unsigned char byte) { return byte == 0; });
    if (bytes[0] != 16 || bytes[1] != 2 || !isAny) { // length and family of macOS's sockaddr_in
        std::abort();
    }
    static const int reference = 0;
    return facts().makesReachability ? reinterpret_cast<SCNetworkReachabilityRef>(&reference) : nullptr;
}
Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef, SCNetworkReachabilityFlags* flags) {
    *flags = facts().reachability.value_or(2);
    return facts().reachability.has_value();
}
void CFRelease(CFTypeRef) {}

@implementation NSProcessInfo
+ (NSProcessInfo*)processInfo {
    return [NSProcessInfo alloc];
}
- (NSOperatingSystemVersion)operatingSystemVersion {
    return {facts().version[0], facts().version[1], facts().version[2]};
}
@end

const NXArchInfo* NXGetLocalArchInfo() {
    static QByteArray text;
    static NXArchInfo information{};
    text = facts().architecture.value_or(QString()).toUtf8();
    information.description = text.constData();
    return facts().architecture ? &information : nullptr;
}

@implementation NSScreen
+ (NSScreen*)mainScreen {
    return facts().screen ? [NSScreen alloc] : nil;
}
- (NSRect)frame {
    return {{0, 0}, {facts().screen->width(), facts().screen->height()}};
}
@end

@implementation NSRunningApplication
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier {
    std::vector<id> found;
    for (const Facts::Application& application : facts().applications) {
        if (application.identifier == textOf(identifier)) {
            found.push_back(keeping([NSRunningApplication class], application));
        }
    }
    return arrayOf(std::move(found));
}
+ (instancetype)runningApplicationWithProcessIdentifier:(int)pid {
    for (const Facts::Application& application : facts().applications) {
        if (application.pid == pid) {
            return keeping([NSRunningApplication class], application);
        }
    }
    return nil;
}
- (BOOL)isActive {
    return kept<Facts::Application>(self).isActive;
}
- (int)processIdentifier {
    return kept<Facts::Application>(self).pid;
}
- (NSDate*)launchDate {
    const auto launched = kept<Facts::Application>(self).launched;
    return launched ? keeping([NSDate class], *launched) : nil;
}
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options {
    if (options == NSApplicationActivateAllWindows) {
        facts().activated.push_back(self.processIdentifier);
    }
    return YES;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace {
    return [NSWorkspace alloc];
}
- (BOOL)openURL:(NSURL*)address {
    facts().opened.append(textOf(address.absoluteString));
    return facts().opens;
}
@end

const NSURLResourceKey NSURLVolumeURLForRemountingKey = @"NSURLVolumeURLForRemountingKey";
@implementation NSFileManager
+ (NSFileManager*)defaultManager {
    return [NSFileManager alloc];
}
- (NSArray*)mountedVolumeURLsIncludingResourceValuesForKeys:(NSArray*)keys options:(NSVolumeEnumerationOptions)options {
    std::vector<id> volumes;
    for (const QString& path : facts().volumes) {
        volumes.push_back([NSURL fileURLWithPath:stringOf(path)]);
    }
    return arrayOf(std::move(volumes));
}
@end

const NSLocaleKey NSLocaleCountryCode = @"kCFLocaleCountryCodeKey";
@implementation NSLocale
+ (NSLocale*)currentLocale {
    return [NSLocale alloc];
}
+ (NSArray*)preferredLanguages {
    std::vector<id> languages;
    for (const QString& language : facts().languages) {
        languages.push_back(stringOf(language));
    }
    return arrayOf(std::move(languages));
}
- (id)objectForKey:(NSLocaleKey)key {
    const bool asksForCountry = [key isEqualToString:NSLocaleCountryCode];
    return asksForCountry && facts().country ? stringOf(*facts().country) : nil;
}
@end

// The program and its notices.
NSApplication* NSApp = nil;

Facts& facts() {
    static Facts instance;
    NSApp = NSApp ? NSApp : [NSApplication alloc];
    return instance;
}

@implementation NSWindow
@end
@implementation NSApplication
- (NSWindow*)mainWindow {
    return facts().hasMainWindow ? [NSWindow alloc] : nil;
}
@end
NSAccessibilityNotificationName const NSAccessibilityAnnouncementRequestedNotification = @"announcement";
NSAccessibilityNotificationUserInfoKey const NSAccessibilityAnnouncementKey = @"text";
NSAccessibilityNotificationUserInfoKey const NSAccessibilityPriorityKey = @"priority";
void NSAccessibilityPostNotificationWithUserInfo(
    id, NSAccessibilityNotificationName, NSDictionary<NSAccessibilityNotificationUserInfoKey, id>* _Nullable userInfo) {
    facts().announcements.append(textOf([userInfo objectForKey:NSAccessibilityAnnouncementKey]));
}

@implementation CATransaction
+ (void)flush {
    facts().flushed = true;
}
@end

void NSSetUncaughtExceptionHandler(NSUncaughtExceptionHandler* handler) {
    extern void* objc_setUncaughtExceptionHandler(void (*)(id)) asm("objc_setUncaughtExceptionHandler");
    objc_setUncaughtExceptionHandler(reinterpret_cast<void (*)(id)>(handler));
}

void raiseSystemException() {
    [[NSException exceptionWithName:@"NSRangeException"
                             reason:@"index 7 beyond bounds"
                           userInfo:@{@"Key" : stringOf(u"välue"_s)}] raise];
    std::abort();
}
