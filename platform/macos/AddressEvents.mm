#include "platform/AddressEvents.h"

#include "platform/base/UncaughtException.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

#include <utility>

namespace {

constexpr FourCharCode kGetUrl = 'GURL'; // class and identifier of the event are the same code

} // namespace

// Receives the event that the system sends for an address of the program's scheme.
@interface AddressEventReceiver : NSObject {
    std::function<void(const QString&)> _handler;
}
- (instancetype)initWithHandler:(std::function<void(const QString&)>)handler;
- (void)takeEvents;
- (void)applicationLaunches:(NSNotification*)notification;
- (void)getUrl:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation AddressEventReceiver

- (instancetype)initWithHandler:(std::function<void(const QString&)>)handler {
    self = [super init];
    if (self) {
        _handler = std::move(handler);
    }
    return self;
}

- (void)takeEvents {
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:self
                                                       andSelector:@selector(getUrl:withReplyEvent:)
                                                     forEventClass:kGetUrl
                                                        andEventID:kGetUrl];
}

// Qt's delegate is told of the same moment and takes the event for itself; whoever is told first, this comes after it.
// The events themselves are taken from the queue later.
- (void)applicationLaunches:(NSNotification*)notification {
    [self takeEvents];
    dispatch_async(dispatch_get_main_queue(), ^{
      [self takeEvents];
    });
}

- (void)getUrl:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply {
    NSString* const address = [event paramDescriptorForKeyword:keyDirectObject].stringValue;
    platform::reportingUncaughtExceptions([&] { _handler(QString::fromNSString(address)); });
}

@end

namespace platform {

void setOpenAddressHandler(std::function<void(const QString&)> handler) {
    static AddressEventReceiver* receiver = nil; // neither the event manager nor the notification centre keeps it
    receiver = [[AddressEventReceiver alloc] initWithHandler:std::move(handler)];
    [receiver takeEvents];
    for (NSNotificationName moment in
         @[ NSApplicationWillFinishLaunchingNotification, NSApplicationDidFinishLaunchingNotification ]) {
        [[NSNotificationCenter defaultCenter] addObserver:receiver
                                                 selector:@selector(applicationLaunches:)
                                                     name:moment
                                                   object:nil];
    }
}

void forwardAddressToRunningCopy(const QString&) {
    // The system itself hands addresses to the running copy.
}

} // namespace platform
