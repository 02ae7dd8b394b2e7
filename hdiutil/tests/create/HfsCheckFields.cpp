#include "hdiutil/tests/create/HfsCheckFields.h"

#include "hdiutil/image/ByteOrder.h"

#include <sys/stat.h>

#include <algorithm>
#include <bit>

namespace hdi::test {

namespace {

std::uint32_t u32(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint32_t>(bytes, at);
}
std::uint16_t u16(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint16_t>(bytes, at);
}
unsigned u8(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<unsigned>(bytes[at]);
}

void expect(bool holds, const std::string& what, Problems& problems) {
    if (!holds) {
        problems.push_back(what);
    }
}

bool isSize(std::span<const std::byte> record, std::size_t size, const std::string& what, Problems& problems) {
    expect(record.size() == size, what + ": the record's size", problems);
    return record.size() == size;
}

// Text encoding, permissions and Finder information lie alike in records of folders and of files.
void checkCommonFields(std::span<const std::byte> record, const std::string& what, Problems& problems) {
    constexpr unsigned kAdminFlags = 0x07; // archived, immutable, append only
    constexpr unsigned kOwnerFlags = 0x2F; // no dump, immutable, append only, opaque, compressed
    expect((u8(record, 40) & ~kAdminFlags) == 0, what + ": flags of the administrator", problems);
    expect((u8(record, 41) & ~kOwnerFlags) == 0, what + ": flags of the owner", problems);
    expectZero(record, 62, 64, what + ": reserved of the Finder's", problems);
    expectZero(record, 74, 76, what + ": reserved of the Finder's extended", problems);
    expectZero(record, 80, 84, what + ": text encoding", problems); // MacRoman, as the header's bitmap says
}

bool isPowerOfTwo(std::uint32_t value, std::uint32_t least) {
    return value >= least && std::has_single_bit(value);
}

} // namespace

void expectZero(std::span<const std::byte> bytes, std::size_t begin, std::size_t end, const std::string& what,
                Problems& problems) {
    const auto part = bytes.subspan(begin, end - begin);
    expect(std::ranges::all_of(part, [](std::byte byte) { return byte == std::byte{0}; }), what, problems);
}

void checkHeaderFields(std::span<const std::byte> header, Problems& problems) {
    // Hardware lock, unmounted, spare blocks, no cache, inconsistent, numbers reused, software lock.
    constexpr std::uint32_t kAttributes = 0x0000'9F80;
    const std::uint32_t blockSize = u32(header, 40);
    expect((u32(header, 4) & ~kAttributes) == 0, "header: reserved attributes", problems);
    expect((u32(header, 4) & 0x800U) == 0, "header: inconsistent", problems);
    expect(u32(header, 8) != 0, "header: the last mounted version", problems);
    expectZero(header, 12, 16, "header: the journal's block", problems);
    expectZero(header, 24, 28, "header: the backup's date", problems);
    expect(u32(header, 16) != 0 && u32(header, 20) != 0, "header: dates", problems);
    expect(isPowerOfTwo(blockSize, 512), "header: block size", problems);
    expect(u32(header, 52) < u32(header, 44), "header: the next allocation", problems);
    expect(u32(header, 56) != 0 && u32(header, 56) % blockSize == 0, "header: clump of resources", problems);
    expect(u32(header, 60) != 0 && u32(header, 60) % blockSize == 0, "header: clump of data", problems);
    expect(u32(header, 64) >= 16, "header: the next number", problems);
    expect((u8(header, 79) & 1U) != 0, "header: MacRoman among the encodings", problems);
    expectZero(header, 80, 104, "header: what the Finder is to start and open", problems);
    expect(loadBig<std::uint64_t>(header, 104) != 0, "header: the volume's number", problems);
    for (const auto& [at, what] : {std::pair(112U, "bitmap"), {192U, "extents file"}, {272U, "catalog file"}}) {
        checkForkFields(header, at, what, problems);
        checkClump(header, at, what, problems);
    }
    expectZero(header, 352, 432, "attributes file", problems);
    expectZero(header, 432, 512, "startup file", problems);
}

void checkForkFields(std::span<const std::byte> bytes, std::size_t at, const std::string& what, Problems& problems) {
    bool isPast = false;
    for (std::size_t i = 0; i < 8; ++i) {
        const std::uint32_t start = u32(bytes, at + 16 + 8 * i);
        const std::uint32_t count = u32(bytes, at + 20 + 8 * i);
        isPast = isPast || count == 0;
        expect(!isPast || (start == 0 && count == 0), what + ": an extent behind the last", problems);
    }
}

void checkClump(std::span<const std::byte> header, std::size_t at, const std::string& what, Problems& problems) {
    const std::uint64_t blockSize = u32(header, 40);
    const std::uint64_t clump = u32(header, at + 8);
    const bool isFirstExtent = clump == u32(header, at + 20) * blockSize;
    const bool isQuarter = clump % blockSize == 0 && clump <= u32(header, 44) / 4 * blockSize;
    expect(isFirstExtent || isQuarter, what + ": clump size", problems);
}

void checkKeyFields(std::span<const std::byte> key, Problems& problems) {
    expect(key.size() >= 6 && key.size() == 6 + std::size_t{2} * u16(key, 4), "a key: its length", problems);
}

void checkFolderFields(std::span<const std::byte> record, bool isHfsx, Problems& problems) {
    if (!isSize(record, 88, "a folder", problems)) {
        return;
    }
    // The thread flag is a file's alone; HFSX counts the folders in a folder where the field is reserved else.
    expect(u16(record, 2) == (isHfsx ? 0x10 : 0), "a folder: flags", problems);
    expect(isHfsx || u32(record, 84) == 0, "a folder: reserved", problems);
    expectZero(record, 68, 72, "a folder: reserved of the Finder's extended", problems);
    checkCommonFields(record, "a folder", problems);
    expect(S_ISDIR(u16(record, 42)), "a folder: mode", problems);
}

void checkFileFields(std::span<const std::byte> record, Problems& problems) {
    if (!isSize(record, 248, "a file", problems)) {
        return;
    }
    const unsigned flags = u16(record, 2);
    const bool isChained = (flags & 0x20U) != 0;
    expect((flags & 0x02U) != 0, "a file: the thread flag", problems);
    expect((flags & ~0x23U) == 0, "a file: flags", problems); // locked, has a thread, in a chain of links
    expect(isChained || u32(record, 4) == 0, "a file: reserved", problems);
    expectZero(record, 64, 72, "a file: reserved of the Finder's extended", problems);
    expectZero(record, 84, 88, "a file: reserved behind the encoding", problems);
    checkCommonFields(record, "a file", problems);
    const mode_t mode = u16(record, 42);
    expect(S_ISREG(mode) || S_ISLNK(mode), "a file: mode", problems);
    expect(S_ISLNK(mode) == (u32(record, 48) == 0x736C6E6B && u32(record, 52) == 0x72686170), "a file: type of a link",
           problems);
    expect(isChained || u32(record, 44) <= 1, "a file: special", problems);
    checkForkFields(record, 88, "a file's data", problems);
    checkForkFields(record, 168, "a file's resources", problems);
    expectZero(record, 96, 100, "a file's data: clump size", problems);
    expectZero(record, 176, 180, "a file's resources: clump size", problems);
}

void checkThreadFields(std::span<const std::byte> record, Problems& problems) {
    expect(record.size() >= 12 && record.size() == 10 + std::size_t{2} * u16(record, 8), "a thread: the record's size",
           problems);
    expectZero(record, 2, 4, "a thread: reserved", problems);
}

} // namespace hdi::test
