#pragma once
// An address of macOS has its length in its first byte, and its family in the second.
#include_next <netinet/in.h>
#include <stdint.h>

struct macos_sockaddr_in {
    uint8_t sin_len;
    uint8_t sin_family;
    in_port_t sin_port;
    struct in_addr sin_addr;
    char sin_zero[8];
};
#define sockaddr_in macos_sockaddr_in
