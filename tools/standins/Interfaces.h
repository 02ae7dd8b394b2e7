#pragma once

#include <filesystem>
#include <string>
#include <vector>

// The network interfaces of /sys/class/net (the kernel's Documentation/ABI/testing/sysfs-class-net) as macOS's
// ifconfig shows them.
namespace standins {

struct Interface {
    std::string name;
    long index = 0;
    unsigned flags = 0;
    std::string mtu;
    std::string address;             // six pairs of hexadecimal digits, not all zero; else empty
    bool addressIsPermanent = false; // the maker's, as opposed to one made up when the interface came up
};

// In the order of the kernel's numbers.
std::vector<Interface> readInterfaces(const std::filesystem::path& folder);

// Two lines for each interface. The address is shown for interfaces with a permanent one; when there is none, for all:
// an address that is made up anew must not become somebody's identity as long as there is a better one.
std::string listing(const std::vector<Interface>& interfaces);

} // namespace standins
