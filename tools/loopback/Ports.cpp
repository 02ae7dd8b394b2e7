#include "tools/loopback/Ports.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace loopback {

BoundSocket bindToPort(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    base::Descriptor bound(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    if (port != 0) {
        setsockopt(bound.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    socklen_t length = sizeof address;
    if (!bound || bind(bound.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        getsockname(bound.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::system_error(errno, std::generic_category(), "no port of the loopback interface");
    }
    return {std::move(bound), ntohs(address.sin_port)};
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
