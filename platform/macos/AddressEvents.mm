#include "platform/AddressEvents.h"

#include "platform/base/UncaughtException.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

#include <utility>

namespace {

constexpr AEEventClass kGetUrl = 'GURL'; // class and identifier of the event are the same code

} // namespace

// Receives the event that the system sends for an address of the program's scheme.
@interface AddressEventReceiver : NSObject
- (instancetype)initWithHandler:(std::function<void(const QString&)>)handler;
- (void)getUrl:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation AddressEventReceiver {
    std::function<void(const QString&)> _handler;
}

- (instancetype)initWithHandler:(std::function<void(const QString&)>)handler {
    self = [super init];
    if (self) {
        _handler = std::move(handler);
    }
    return self;
}

- (void)getUrl:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply {
    NSString* const address = [event paramDescriptorForKeyword:keyDirectObject].stringValue;
    platform::reportingUncaughtExceptions([&] { _handler(QString::fromNSString(address)); });
}

@end

namespace platform {

void setOpenAddressHandler(std::function<void(const QString&)> handler) {
    static AddressEventReceiver* receiver = nil; // the event manager does not keep it
    receiver = [[AddressEventReceiver alloc] initWithHandler:std::move(handler)];
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:receiver
                                                       andSelector:@selector(getUrl:withReplyEvent:)
                                                     forEventClass:kGetUrl
                                                        andEventID:kGetUrl];
}

void forwardAddressToRunningCopy(const QString&) {
    // The system itself hands addresses to the running copy.
}

} // namespace platform
