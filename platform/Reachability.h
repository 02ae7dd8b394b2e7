#pragma once

namespace platform {

// Whether a packet to 0.0.0.0, which stands for the default route, could leave this machine now without a connection
// having to be made first. No host is asked. False on any failure. Any thread.
//
// Linux: an up, non-reject default route in /proc/net/route or /proc/net/ipv6_route (proc(5), <net/route.h>); the
// reject default on `lo` does not count.
bool defaultRouteIsReachable();

} // namespace platform
