#pragma once
// developer.apple.com/documentation/systemconfiguration/scnetworkreachability: macOS 10.3; deprecated since macOS 14.4.
#include <CoreFoundation/CoreFoundation.h>
#include <sys/socket.h>

typedef const struct CF_BRIDGED_TYPE(id) __SCNetworkReachability* SCNetworkReachabilityRef;
typedef uint32_t SCNetworkReachabilityFlags;
enum : SCNetworkReachabilityFlags {
    kSCNetworkReachabilityFlagsTransientConnection = 1 << 0,
    kSCNetworkReachabilityFlagsReachable = 1 << 1,
    kSCNetworkReachabilityFlagsConnectionRequired = 1 << 2,
};
CF_EXPORT SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(CFAllocatorRef allocator,
                                                                          const struct sockaddr* address);
CF_EXPORT Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef target, SCNetworkReachabilityFlags* flags);
