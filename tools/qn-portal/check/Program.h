#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

// What kind of program a file is. Pure.
//
// Facts: <mach-o/loader.h> and <mach-o/fat.h> of Apple's open source cctools; elf(5).
namespace portal::check {

// Fills `into` from `offset`; gives how many bytes there were.
using ReadAt = std::function<std::size_t(std::uint64_t offset, std::span<std::byte> into)>;

struct ProgramSlice {
    std::string processor;     // "arm64", "x86_64", "i386", "ppc", else "processor 0x…"
    std::string minimumSystem; // "11.0"; empty when it does not say
    bool isSigned = false;
};

struct Program {
    enum class Kind { kUnknown, kMachO, kElf, kScript };

    Kind kind = Kind::kUnknown;
    std::vector<ProgramSlice> slices; // of Mach-O
    std::string elfMachine;           // "x86_64", "aarch64", else "machine N"

    const ProgramSlice* slice(const std::string& processor) const;
};

// Never throws but what `read` throws; damaged files are kUnknown, or have slices that say nothing.
Program readProgram(const ReadAt& read);

} // namespace portal::check
