#pragma once

#include <filesystem>
#include <string>
#include <vector>

// The network interfaces of /sys/class/net (the kernel's Documentation/ABI/testing/sysfs-class-net) as macOS's
// ifconfig shows them.
namespace standins {

// Nearest first.
enum class Place { kBuiltIn, kRemovable, kNowhere };

struct Interface {
    std::string name;
    long index = 0;
    unsigned flags = 0;
    std::string mtu;
    std::string address; // six pairs of hexadecimal digits, not all zero; else empty
    // The maker's, as opposed to one made up or set; empty when there is none.
    std::string permanentAddress;
    Place place = Place::kNowhere;
    std::string device; // where the device is in the machine; empty for virtual ones
};

// In the order of the kernel's numbers. A permanent address is one that the kernel's files do not call made up or set.
std::vector<Interface> readInterfaces(const std::filesystem::path& folder);

// The interfaces of this machine: permanent addresses as the kernel tells them, whatever is set, where it tells any.
// Built-in devices come first, then removable ones, both by their place in the machine, which no docking and no other
// order of starting changes.
std::vector<Interface> interfacesOfThisMachine();
void sortByPlace(std::vector<Interface>& interfaces);

// Two lines for each interface. The permanent address is shown where there is one; when there is none at all, the
// address of each: one that is made up anew must not become somebody's identity as long as there is a better one.
std::string listing(const std::vector<Interface>& interfaces);

} // namespace standins
