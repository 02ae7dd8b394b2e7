#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace launcher {

// What lies behind the program in its own file: the packed bundle in parts, a table of them, and a trailer of fixed
// size. Each part is an .xz stream of its own, so that all processors unpack together. Numbers have 8 bytes,
// little-endian.
//
//   parts     one after the other
//   table     for each part its packed and its unpacked length
//   trailer   "QNbundle", where the parts begin in the file, how many they are, the bundle's digest (16 letters), its
//             identifier (80 bytes, filled up with NUL)
struct Part {
    std::uint64_t begin = 0; // in the file
    std::uint64_t packed = 0;
    std::uint64_t place = 0; // in the archive
    std::uint64_t unpacked = 0;
};

struct Payload {
    std::vector<Part> parts;
    std::uint64_t end = 0;  // of the last part, in the file
    std::uint64_t size = 0; // of the archive
    std::string digest;     // names the folder that the bundle is unpacked to
    std::string identifier;
};

// Of the file that `descriptor` is open for. Throws Problem when it has none, or was cut off.
Payload findPayload(int descriptor);

// The bundle as a tar archive. Throws Problem when it is damaged or there is no memory for it.
std::string unpack(int descriptor, const Payload& payload);

} // namespace launcher
