#include "tools/qn-portal/check/Program.h"

#include <elf.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <optional>

namespace portal::check {

namespace {

constexpr std::uint32_t kFat = 0xcafebabe; // big-endian; Java's classes begin with it, too
constexpr std::uint32_t kFat64 = 0xcafebabf;
constexpr std::uint32_t kMachO32 = 0xfeedface;
constexpr std::uint32_t kMachO64 = 0xfeedfacf;
constexpr std::uint32_t kMostSlices = 16; // a Java class has its version, from 45 on, there
constexpr std::uint32_t kMostCommandBytes = 256 * 1024;
constexpr std::uint32_t kVersionMinMacOs = 0x24;
constexpr std::uint32_t kBuildVersion = 0x32;
constexpr std::uint32_t kCodeSignature = 0x1d;

std::uint32_t number(std::span<const std::byte> bytes, std::size_t at, bool isBig) {
    std::uint32_t value = 0;
    if (at + sizeof value > bytes.size()) {
        return 0;
    }
    std::memcpy(&value, bytes.data() + at, sizeof value);
    const bool mustSwap = isBig == (std::endian::native == std::endian::little);
    return mustSwap ? __builtin_bswap32(value) : value;
}

std::string processorName(std::uint32_t type) {
    switch (type) {
    case 7:
        return "i386";
    case 18:
        return "ppc";
    case 0x01000007:
        return "x86_64";
    case 0x0100000c:
        return "arm64";
    default: {
        std::array<char, 24> text{};
        std::snprintf(text.data(), text.size(), "processor 0x%x", type);
        return text.data();
    }
    }
}

// 16 bits, 8, 8: "10.13", "11.0", "11.2.1"
std::string systemVersion(std::uint32_t packed) {
    std::string text = std::to_string(packed >> 16) + '.' + std::to_string((packed >> 8) & 0xff);
    return (packed & 0xff) == 0 ? text : text + '.' + std::to_string(packed & 0xff);
}

std::vector<std::byte> bytesAt(const ReadAt& read, std::uint64_t offset, std::size_t size) {
    std::vector<std::byte> bytes(size);
    bytes.resize(read(offset, bytes));
    return bytes;
}

void readCommands(ProgramSlice& slice, std::span<const std::byte> commands, std::uint32_t count, bool isBig) {
    std::size_t at = 0;
    for (std::uint32_t i = 0; i < count && at + 8 <= commands.size(); ++i) {
        const std::uint32_t command = number(commands, at, isBig) & 0x7fffffff; // the top bit: must be understood
        if (command == kVersionMinMacOs) {
            slice.minimumSystem = systemVersion(number(commands, at + 8, isBig));
        } else if (command == kBuildVersion) {
            slice.minimumSystem = systemVersion(number(commands, at + 12, isBig));
        } else if (command == kCodeSignature) {
            slice.isSigned = true;
        }
        const std::uint32_t size = number(commands, at + 4, isBig);
        if (size < 8) {
            return;
        }
        at += size;
    }
}

std::optional<ProgramSlice> readSlice(const ReadAt& read, std::uint64_t offset) {
    const auto head = bytesAt(read, offset, 32);
    for (const bool isBig : {false, true}) {
        const std::uint32_t magic = number(head, 0, isBig);
        if (magic != kMachO32 && magic != kMachO64) {
            continue;
        }
        ProgramSlice slice{processorName(number(head, 4, isBig)), {}, false};
        const std::uint32_t size = std::min(number(head, 20, isBig), kMostCommandBytes);
        const auto commands = bytesAt(read, offset + (magic == kMachO64 ? 32 : 28), size);
        readCommands(slice, commands, number(head, 16, isBig), isBig);
        return slice;
    }
    return std::nullopt;
}

std::vector<ProgramSlice> readFat(const ReadAt& read, std::span<const std::byte> head, bool isWide) {
    const std::uint32_t count = number(head, 4, true);
    std::vector<ProgramSlice> slices;
    if (count > kMostSlices) {
        return slices;
    }
    const std::size_t each = isWide ? 32 : 20;
    const auto table = bytesAt(read, 8, each * count);
    for (std::size_t at = 0; at + each <= table.size(); at += each) {
        const std::uint64_t high = isWide ? std::uint64_t{number(table, at + 8, true)} << 32 : 0;
        if (auto slice = readSlice(read, high + number(table, at + (isWide ? 12 : 8), true))) {
            slices.push_back(std::move(*slice));
        }
    }
    return slices;
}

std::string elfMachine(std::span<const std::byte> head) {
    const bool isBig = head[EI_DATA] == std::byte{ELFDATA2MSB};
    const auto low = std::to_integer<unsigned>(head[isBig ? 19 : 18]);
    const unsigned machine = std::to_integer<unsigned>(head[isBig ? 18 : 19]) * 256U + low;
    switch (machine) {
    case EM_X86_64:
        return "x86_64";
    case EM_AARCH64:
        return "aarch64";
    default:
        return "machine " + std::to_string(machine);
    }
}

} // namespace

const ProgramSlice* Program::slice(const std::string& processor) const {
    const auto found = std::ranges::find(slices, processor, &ProgramSlice::processor);
    return found == slices.end() ? nullptr : &*found;
}

Program readProgram(const ReadAt& read) {
    Program program;
    const auto head = bytesAt(read, 0, 64);
    const std::uint32_t magic = number(head, 0, true);
    if (head.size() >= 20 && std::memcmp(head.data(), ELFMAG, SELFMAG) == 0) {
        program.kind = Program::Kind::kElf;
        program.elfMachine = elfMachine(head);
    } else if (head.size() >= 3 && std::memcmp(head.data(), "#!", 2) == 0) {
        program.kind = Program::Kind::kScript;
    } else if (magic == kFat || magic == kFat64) {
        program.slices = readFat(read, head, magic == kFat64);
    } else if (auto slice = readSlice(read, 0)) {
        program.slices.push_back(std::move(*slice));
    }
    if (!program.slices.empty()) {
        program.kind = Program::Kind::kMachO;
    }
    return program;
}

} // namespace portal::check
