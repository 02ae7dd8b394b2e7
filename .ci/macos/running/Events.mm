// Notices and Apple events.
#import "Facts.h"
#import "Standins.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

#include <cstdlib>

using standins::kept;
using standins::keeping;
using standins::stringOf;

namespace {

struct Receiver {
    id object = nil;
    SEL selector = nullptr;
    NSString* name = nil;
};

std::vector<Receiver>& observers() {
    static std::vector<Receiver> instance;
    return instance;
}

Receiver& addressReceiver() {
    static Receiver instance;
    return instance;
}

} // namespace

NSNotificationName NSApplicationWillFinishLaunchingNotification = @"NSApplicationWillFinishLaunchingNotification";
NSNotificationName NSApplicationDidFinishLaunchingNotification = @"NSApplicationDidFinishLaunchingNotification";

@implementation NSNotification
- (NSNotificationName)name {
    return kept<NSString*>(self);
}
@end

@implementation NSNotificationCenter
+ (NSNotificationCenter*)defaultCenter {
    return [NSNotificationCenter alloc];
}
- (void)addObserver:(id)observer selector:(SEL)selector name:(NSNotificationName)name object:(id)object {
    observers().push_back({observer, selector, name});
}
@end

@implementation NSAppleEventDescriptor
- (NSString*)stringValue {
    return kept<NSString*>(self);
}
- (NSAppleEventDescriptor*)paramDescriptorForKeyword:(FourCharCode)keyword {
    return keyword == '----' ? self : nil;
}
@end

@implementation NSAppleEventManager
+ (NSAppleEventManager*)sharedAppleEventManager {
    return [NSAppleEventManager alloc];
}
- (void)setEventHandler:(id)handler
            andSelector:(SEL)selector
          forEventClass:(FourCharCode)eventClass
             andEventID:(FourCharCode)eventID {
    if (eventClass != 'GURL' || eventID != 'GURL') {
        std::abort();
    }
    addressReceiver() = {handler, selector, nil};
}
@end

void deliverAddress(const QString& address) {
    if (addressReceiver().object) {
        standins::send(addressReceiver().object, addressReceiver().selector,
                       keeping([NSAppleEventDescriptor class], stringOf(address)));
    }
}

void takeAddressesElsewhere() {
    addressReceiver() = {};
}

void postLaunchNotification(bool isDone) {
    NSString* const name =
        isDone ? NSApplicationDidFinishLaunchingNotification : NSApplicationWillFinishLaunchingNotification;
    for (const Receiver& observer : observers()) {
        if ([observer.name isEqualToString:name]) {
            standins::send(observer.object, observer.selector, keeping([NSNotification class], name));
        }
    }
}
