#pragma once
// AppKit, as far as used: developer.apple.com/documentation/appkit.
#import <Foundation/Foundation.h>

#define APPKIT_EXPORT extern "C"

NS_ASSUME_NONNULL_BEGIN

typedef double CGFloat;
struct CGPoint {
    CGFloat x;
    CGFloat y;
};
struct CGSize {
    CGFloat width;
    CGFloat height;
};
struct CGRect {
    CGPoint origin;
    CGSize size;
};
typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;

@interface NSScreen : NSObject
@property(class, readonly, strong, nullable) NSScreen* mainScreen;
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
@property(readonly) NSRect frame;
@end

typedef NS_OPTIONS(NSUInteger, NSApplicationActivationOptions) {
    NSApplicationActivateAllWindows = 1 << 0,
    NSApplicationActivateIgnoringOtherApps = 1 << 1,
};
@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)identifier;
+ (nullable instancetype)runningApplicationWithProcessIdentifier:(int)pid;
@property(readonly, getter=isActive) BOOL active;
@property(readonly) int processIdentifier;
@property(readonly, copy, nullable) NSDate* launchDate;
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (BOOL)openURL:(NSURL*)address;
- (nullable NSString*)fullPathForApplication:(NSString*)name
    API_DEPRECATED_MACOS("use -[NSWorkspace URLForApplicationWithBundleIdentifier:]", 10.0, 11.0);
@end

@interface NSWindow : NSObject
@end
@interface NSApplication : NSObject
@property(nullable, readonly, weak) NSWindow* mainWindow;
@end
APPKIT_EXPORT NSApplication* NSApp;

typedef NSString* NSAccessibilityNotificationName;
typedef NSString* NSAccessibilityNotificationUserInfoKey;
typedef NS_ENUM(NSInteger, NSAccessibilityPriorityLevel) {
    NSAccessibilityPriorityLow = 10,
    NSAccessibilityPriorityMedium = 50,
    NSAccessibilityPriorityHigh = 90,
};
APPKIT_EXPORT NSAccessibilityNotificationName const NSAccessibilityAnnouncementRequestedNotification;
APPKIT_EXPORT NSAccessibilityNotificationUserInfoKey const NSAccessibilityAnnouncementKey;
APPKIT_EXPORT NSAccessibilityNotificationUserInfoKey const NSAccessibilityPriorityKey;
APPKIT_EXPORT void NSAccessibilityPostNotificationWithUserInfo(
    id element, NSAccessibilityNotificationName notification,
    NSDictionary<NSAccessibilityNotificationUserInfoKey, id>* _Nullable userInfo);

APPKIT_EXPORT NSNotificationName NSApplicationWillFinishLaunchingNotification;
APPKIT_EXPORT NSNotificationName NSApplicationDidFinishLaunchingNotification;

NS_ASSUME_NONNULL_END
