#include "tools/standins/Interfaces.h"

#include "base/Files.h"
#include "base/Text.h"
#include "tools/standins/PermanentAddresses.h"

#include <net/if.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <system_error>
#include <utility>

namespace standins {
namespace {

std::string value(const std::filesystem::path& folder, const char* name) {
    return std::string(base::trimmed(base::readSmallFile(folder / name).value_or(std::string())));
}

bool isUsableAddress(const std::string& text) {
    constexpr std::size_t kLength = 17;
    if (text.size() != kLength) {
        return false;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isSeparator = at % 3 == 2;
        const bool isDigit = std::string("0123456789abcdefABCDEF").find(text[at]) != std::string::npos;
        if (isSeparator ? text[at] != ':' : !isDigit) {
            return false;
        }
    }
    return text.find_first_not_of("0:") != std::string::npos;
}

// What the firmware says of the device or of what it is plugged into; else a USB device is taken for a removable one.
Place placeOf(const std::filesystem::path& device) {
    if (device.empty()) {
        return Place::kNowhere;
    }
    for (std::filesystem::path part = device; part.has_relative_path(); part = part.parent_path()) {
        const std::string removable = value(part, "removable");
        if (removable == "removable" || removable == "fixed") {
            return removable == "fixed" ? Place::kBuiltIn : Place::kRemovable;
        }
    }
    return device.string().find("/usb") != std::string::npos ? Place::kRemovable : Place::kBuiltIn;
}

Interface readInterface(const std::filesystem::path& folder) {
    Interface interface;
    interface.name = folder.filename().string();
    interface.index = std::strtol(value(folder, "ifindex").c_str(), nullptr, 10);
    interface.flags = static_cast<unsigned>(std::strtoul(value(folder, "flags").c_str(), nullptr, 16));
    interface.mtu = value(folder, "mtu");
    const std::string address = value(folder, "address");
    interface.address = isUsableAddress(address) ? address : std::string();
    interface.permanentAddress = value(folder, "addr_assign_type") == "0" ? interface.address : std::string();
    std::error_code none;
    interface.device = std::filesystem::canonical(folder / "device", none).string();
    interface.place = placeOf(interface.device);
    return interface;
}

std::string flagNames(unsigned flags) {
    constexpr std::array<std::pair<unsigned, const char*>, 8> kNames = {{{IFF_UP, "UP"},
                                                                         {IFF_BROADCAST, "BROADCAST"},
                                                                         {IFF_LOOPBACK, "LOOPBACK"},
                                                                         {IFF_POINTOPOINT, "POINTOPOINT"},
                                                                         {IFF_RUNNING, "RUNNING"},
                                                                         {IFF_NOARP, "NOARP"},
                                                                         {IFF_PROMISC, "PROMISC"},
                                                                         {IFF_MULTICAST, "MULTICAST"}}};
    std::string names;
    for (const auto& [flag, name] : kNames) {
        if ((flags & flag) != 0) {
            names += (names.empty() ? "" : ",") + std::string(name);
        }
    }
    return names;
}

std::string headLine(const Interface& interface) {
    std::array<char, 16> flags{};
    std::snprintf(flags.data(), flags.size(), "%x", interface.flags);
    return interface.name + ": flags=" + flags.data() + "<" + flagNames(interface.flags) + "> mtu " + interface.mtu +
           "\n";
}

} // namespace

std::vector<Interface> readInterfaces(const std::filesystem::path& folder) {
    std::vector<Interface> interfaces;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::error_code ignored; // plain files, such as bonding_masters, are no interfaces
        if (entry.is_directory(ignored)) {
            interfaces.push_back(readInterface(entry.path()));
        }
    }
    std::sort(interfaces.begin(), interfaces.end(), [](const Interface& one, const Interface& other) {
        return std::pair(one.index, one.name) < std::pair(other.index, other.name);
    });
    return interfaces;
}

std::vector<Interface> interfacesOfThisMachine() {
    std::vector<Interface> interfaces = readInterfaces("/sys/class/net");
    const std::map<long, std::string> permanent = permanentAddresses();
    if (!permanent.empty()) {
        for (Interface& interface : interfaces) {
            const auto known = permanent.find(interface.index);
            interface.permanentAddress = known == permanent.end() ? std::string() : known->second;
        }
    }
    sortByPlace(interfaces);
    return interfaces;
}

void sortByPlace(std::vector<Interface>& interfaces) {
    std::stable_sort(interfaces.begin(), interfaces.end(), [](const Interface& one, const Interface& other) {
        return std::pair(one.place, one.device) < std::pair(other.place, other.device);
    });
}

std::string listing(const std::vector<Interface>& interfaces) {
    const bool anyPermanent = std::any_of(interfaces.begin(), interfaces.end(), [](const Interface& interface) {
        return !interface.permanentAddress.empty();
    });
    std::string text;
    for (const Interface& interface : interfaces) {
        text += headLine(interface);
        const std::string& address = anyPermanent ? interface.permanentAddress : interface.address;
        if (!address.empty()) {
            text += "\tether " + address + "\n";
        }
    }
    return text;
}

} // namespace standins
