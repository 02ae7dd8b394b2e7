#include "platform/Reachability.h"

#import <SystemConfiguration/SystemConfiguration.h>

#include <netinet/in.h>

namespace platform {

bool defaultRouteIsReachable() {
    sockaddr_in anyAddress{};
    anyAddress.sin_len = sizeof anyAddress;
    anyAddress.sin_family = AF_INET;
    const SCNetworkReachabilityRef reference =
        SCNetworkReachabilityCreateWithAddress(kCFAllocatorDefault, reinterpret_cast<const sockaddr*>(&anyAddress));
    if (!reference) {
        return false;
    }
    SCNetworkReachabilityFlags flags = 0;
    const bool known = SCNetworkReachabilityGetFlags(reference, &flags);
    CFRelease(reference);
    constexpr SCNetworkReachabilityFlags kAsked =
        kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsConnectionRequired;
    return known && (flags & kAsked) == kSCNetworkReachabilityFlagsReachable;
}

} // namespace platform
