#pragma once

#include "base/Descriptor.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace loopback {

struct BoundSocket {
    base::Descriptor socket;
    std::uint16_t port = 0;
};
enum class Family { kFour, kSix };
// A socket bound to 127.0.0.1, or to ::1, to any free port with 0. Throws std::system_error.
BoundSocket bindToPort(std::uint16_t port, Family family = Family::kFour);

// SCHEME://127.0.0.1:PORT and the path.
std::string addressOf(const char* scheme, std::uint16_t port, std::string_view path);

// A port of 127.0.0.1 that refuses connections for as long as this object lives.
class RefusingPort {
public:
    RefusingPort();

    std::string address(std::string_view path = "/") const;

private:
    BoundSocket bound_;
};

} // namespace loopback
