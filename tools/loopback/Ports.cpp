#include "tools/loopback/Ports.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace loopback {

namespace {

// Bytes of the family's own kind of address, and how many.
std::pair<sockaddr_storage, socklen_t> loopbackAddress(Family family, std::uint16_t port) {
    sockaddr_storage address{};
    if (family == Family::kSix) {
        auto* const six = reinterpret_cast<sockaddr_in6*>(&address);
        six->sin6_family = AF_INET6;
        six->sin6_port = htons(port);
        six->sin6_addr = in6addr_loopback;
        return {address, sizeof *six};
    }
    auto* const four = reinterpret_cast<sockaddr_in*>(&address);
    four->sin_family = AF_INET;
    four->sin_port = htons(port);
    four->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return {address, sizeof *four};
}

} // namespace

BoundSocket bindToPort(std::uint16_t port, Family family) {
    auto [address, length] = loopbackAddress(family, port);
    base::Descriptor bound(socket(address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    if (port != 0) {
        setsockopt(bound.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    if (!bound || bind(bound.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        getsockname(bound.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::system_error(errno, std::generic_category(), "no port of the loopback interface");
    }
    // Both families have the port at the same place.
    return {std::move(bound), ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port)};
}

std::string addressOf(const char* scheme, std::uint16_t port, std::string_view path) {
    return std::string(scheme) + "://127.0.0.1:" + std::to_string(port) + std::string(path);
}

// Bound but not listening: the port can neither be connected to nor taken by somebody else.
RefusingPort::RefusingPort() : bound_(bindToPort(0)) {}

std::string RefusingPort::address(std::string_view path) const {
    return addressOf("http", bound_.port, path);
}

} // namespace loopback
