#include "hdiutil/tests/volume/Packers.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/volume/Decmpfs.h"

#include <libdeflate.h>

#include <memory>
#include <unordered_map>

namespace hdi::test {

namespace {

std::vector<Bytes> blocksOf(const Bytes& contents, std::byte marker, const std::function<Bytes(const Bytes&)>& pack) {
    std::vector<Bytes> blocks;
    for (std::size_t at = 0; at < contents.size(); at += kDecmpfsBlockBytes) {
        const std::size_t end = std::min(contents.size(), at + kDecmpfsBlockBytes);
        const Bytes block(contents.begin() + static_cast<std::ptrdiff_t>(at),
                          contents.begin() + static_cast<std::ptrdiff_t>(end));
        Bytes packed = pack(block);
        // What does not shrink is stored behind a marker, by all writers.
        blocks.push_back(packed.size() <= block.size() + 1 ? packed : Bytes{marker} + block);
    }
    return blocks;
}

void addByte(Bytes& out, std::size_t value) {
    out.push_back(static_cast<std::byte>(value));
}

// 0xE0 and 0xE1 to 0xEF: literals only.
void addLiterals(Bytes& out, std::span<const std::byte> literals) {
    while (!literals.empty()) {
        const std::size_t count = std::min<std::size_t>(literals.size(), 271);
        if (count < 16) {
            addByte(out, 0xE0 + count);
        } else {
            addByte(out, 0xE0);
            addByte(out, count - 16);
        }
        out.insert(out.end(), literals.begin(), literals.begin() + static_cast<std::ptrdiff_t>(count));
        literals = literals.subspan(count);
    }
}

// A match at a large distance (three bits of length, three bytes and a distance of 16 bits), and more of the same
// match.
void addMatch(Bytes& out, std::size_t distance, std::size_t length) {
    const std::size_t first = std::min<std::size_t>(length, 10);
    addByte(out, 0x07 | (first - 3) << 3);
    addByte(out, distance & 0xFF);
    addByte(out, distance >> 8);
    for (length -= first; length > 0;) {
        const std::size_t count = std::min<std::size_t>(length, 271);
        if (count < 16) {
            addByte(out, 0xF0 + count);
        } else {
            addByte(out, 0xF0);
            addByte(out, count - 16);
        }
        length -= count;
    }
}

std::size_t matchLength(const Bytes& contents, std::size_t a, std::size_t b) {
    std::size_t length = 0;
    while (b + length < contents.size() && contents[a + length] == contents[b + length]) {
        ++length;
    }
    return length;
}

} // namespace

Bytes packZlib(const Bytes& contents) {
    const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
        libdeflate_alloc_compressor(6), libdeflate_free_compressor);
    Bytes packed(libdeflate_zlib_compress_bound(compressor.get(), contents.size()));
    packed.resize(
        libdeflate_zlib_compress(compressor.get(), contents.data(), contents.size(), packed.data(), packed.size()));
    return packed;
}

Bytes packLzvn(const Bytes& contents) {
    Bytes out;
    std::unordered_map<std::uint32_t, std::size_t> seen;
    std::size_t literals = 0;
    for (std::size_t at = 0; at + 4 <= contents.size();) {
        const auto four = loadLittle<std::uint32_t>(contents, at);
        const auto found = seen.find(four);
        const bool isMatch = found != seen.end() && at - found->second < 0xFFFF;
        const std::size_t before = isMatch ? found->second : 0;
        seen[four] = at;
        if (!isMatch) {
            ++at;
            continue;
        }
        addLiterals(out, std::span(contents).subspan(literals, at - literals));
        const std::size_t length = matchLength(contents, before, at);
        addMatch(out, at - before, length);
        at += length;
        literals = at;
    }
    addLiterals(out, std::span(contents).subspan(literals));
    addByte(out, 0x06);
    return out + Bytes(7); // the end mark is eight bytes long
}

Bytes packAdc(const Bytes& contents) {
    constexpr std::size_t kLiterals = 128;
    constexpr std::size_t kShort = 18;
    constexpr std::size_t kLong = 67;
    Bytes out;
    std::unordered_map<std::uint32_t, std::size_t> seen;
    std::size_t literals = 0;
    const auto flush = [&](std::size_t end) {
        while (literals < end) {
            const std::size_t count = std::min(end - literals, kLiterals);
            addByte(out, 0x80 + count - 1);
            out = out + Bytes(contents.begin() + static_cast<std::ptrdiff_t>(literals),
                              contents.begin() + static_cast<std::ptrdiff_t>(literals + count));
            literals += count;
        }
    };
    for (std::size_t at = 0; at + 4 <= contents.size();) {
        const auto four = loadLittle<std::uint32_t>(contents, at);
        const auto found = seen.find(four);
        const std::size_t distance = found != seen.end() ? at - found->second - 1 : SIZE_MAX;
        const std::size_t length = distance < 0x10000 ? matchLength(contents, found->second, at) : 0;
        seen[four] = at;
        if (length == 0) {
            ++at;
            continue;
        }
        flush(at);
        const std::size_t count = std::min(length, distance < 1024 && length <= kShort ? kShort : kLong);
        if (distance < 1024 && count <= kShort) {
            addByte(out, (count - 3) << 2 | distance >> 8);
        } else {
            addByte(out, 0x40 + count - 4);
            addByte(out, distance >> 8);
        }
        addByte(out, distance & 0xFF);
        at += count;
        literals = at;
    }
    flush(contents.size());
    return out;
}

Bytes zlibFork(const Bytes& contents) {
    const std::vector<Bytes> blocks = blocksOf(contents, std::byte{0xFF}, packZlib);
    Bytes table(4 + 8 * blocks.size());
    storeLittle<std::uint32_t>(table, 0, static_cast<std::uint32_t>(blocks.size()));
    Bytes data;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        storeLittle<std::uint32_t>(table, 4 + 8 * i, static_cast<std::uint32_t>(table.size() + data.size()));
        storeLittle<std::uint32_t>(table, 8 + 8 * i, static_cast<std::uint32_t>(blocks[i].size()));
        data = data + blocks[i];
    }
    const Bytes resource = table + data;
    Bytes map(50); // as macOS's own: one resource, 'cmpf'
    const unsigned char tail[] = {0,  28, 0, 50,   0,    0, 'c', 'm', 'p', 'f', 0, 0, 0,
                                  10, 0,  1, 0xFF, 0xFF, 0, 0,   0,   0,   0,   0, 0, 0};
    std::transform(std::begin(tail), std::end(tail), map.begin() + 24, [](unsigned char c) { return std::byte{c}; });
    Bytes header(0x104);
    storeBig<std::uint32_t>(header, 0, 0x100);
    storeBig<std::uint32_t>(header, 4, static_cast<std::uint32_t>(0x104 + resource.size()));
    storeBig<std::uint32_t>(header, 8, static_cast<std::uint32_t>(4 + resource.size()));
    storeBig<std::uint32_t>(header, 12, static_cast<std::uint32_t>(map.size()));
    storeBig<std::uint32_t>(header, 0x100, static_cast<std::uint32_t>(resource.size()));
    return header + resource + map;
}

Bytes offsetFork(const Bytes& contents, std::byte marker, const std::function<Bytes(const Bytes&)>& packBlock) {
    const std::vector<Bytes> blocks = blocksOf(contents, marker, packBlock);
    Bytes fork(4 * (blocks.size() + 1));
    for (std::size_t i = 0; i <= blocks.size(); ++i) {
        storeLittle<std::uint32_t>(fork, 4 * i, static_cast<std::uint32_t>(fork.size()));
        if (i < blocks.size()) {
            fork = fork + blocks[i];
        }
    }
    return fork;
}

} // namespace hdi::test
