#include "tools/launcher/Payload.h"

#include "tools/launcher/Problem.h"

#include <lzma.h>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <future>
#include <span>
#include <string_view>

namespace launcher {

namespace {

constexpr std::string_view kMagic = "QNbundle";
constexpr std::size_t kNumber = 8;
constexpr std::size_t kDigest = 16;
constexpr std::size_t kIdentifier = 80;
constexpr std::size_t kTrailer = kMagic.size() + 2 * kNumber + kDigest + kIdentifier;
constexpr std::uint64_t kMostParts = 64;
// Several times what a bundle needs.
constexpr std::uint64_t kLargest = std::uint64_t{256} << 20;

[[noreturn]] void damaged() {
    throw Problem("This file is damaged or not complete: download it again");
}

std::uint64_t number(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t index = kNumber; index-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[index]);
    }
    return value;
}

// A name for a folder, so nothing that leads out of it.
bool isPlainName(std::string_view name) {
    const auto plain = [](unsigned char letter) { return std::isalnum(letter) || letter == '.' || letter == '-'; };
    return !name.empty() && name.front() != '.' && std::all_of(name.begin(), name.end(), plain);
}

class Mapping {
public:
    Mapping(int descriptor, std::size_t size)
        : size_(size), bytes_(::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, descriptor, 0)) {}
    ~Mapping() {
        if (bytes_ != MAP_FAILED) {
            ::munmap(bytes_, size_);
        }
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::span<const char> bytes() const {
        return bytes_ == MAP_FAILED ? std::span<const char>() : std::span(static_cast<const char*>(bytes_), size_);
    }

private:
    std::size_t size_;
    void* bytes_;
};

std::string readAt(int descriptor, std::uint64_t place, std::size_t size) {
    std::string bytes(size, '\0');
    if (::pread(descriptor, bytes.data(), size, static_cast<off_t>(place)) != static_cast<ssize_t>(size)) {
        damaged();
    }
    return bytes;
}

// Parts that follow each other from `begin` and end where the table begins.
void addParts(Payload& payload, std::uint64_t begin, std::string_view table) {
    payload.end = begin;
    for (; !table.empty(); table.remove_prefix(2 * kNumber)) {
        const Part part{payload.end, number(table), payload.size, number(table.substr(kNumber))};
        if (part.packed > kLargest || part.unpacked > kLargest) {
            damaged();
        }
        payload.end += part.packed;
        payload.size += part.unpacked;
        payload.parts.push_back(part);
    }
}

bool unpackPart(std::span<const char> file, const Part& part, char* archive) {
    std::uint64_t memory = UINT64_MAX;
    std::size_t read = 0;
    std::size_t written = 0;
    const auto* const packed = reinterpret_cast<const std::uint8_t*>(file.data() + part.begin); // NOLINT: the API's way
    return lzma_stream_buffer_decode(&memory, 0, nullptr, packed, &read, part.packed,
                                     reinterpret_cast<std::uint8_t*>(archive + part.place), // NOLINT: the API's way
                                     &written, part.unpacked) == LZMA_OK &&
           read == part.packed && written == part.unpacked;
}

} // namespace

Payload findPayload(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || static_cast<std::uint64_t>(status.st_size) < kTrailer) {
        damaged();
    }
    const auto end = static_cast<std::uint64_t>(status.st_size) - kTrailer;
    const std::string trailer = readAt(descriptor, end, kTrailer);
    const std::string_view fields = std::string_view(trailer).substr(kMagic.size());
    const std::uint64_t begin = number(fields);
    const std::uint64_t count = number(fields.substr(kNumber));
    if (!trailer.starts_with(kMagic) || count == 0 || count > kMostParts || count * 2 * kNumber > end || begin > end) {
        damaged();
    }
    const std::uint64_t tableSize = count * 2 * kNumber;
    Payload payload;
    addParts(payload, begin, readAt(descriptor, end - tableSize, tableSize));
    payload.digest = fields.substr(2 * kNumber, kDigest);
    const std::string_view identifier = fields.substr(2 * kNumber + kDigest);
    payload.identifier = identifier.substr(0, identifier.find('\0'));
    if (payload.end != end - tableSize || payload.size > kLargest || !isPlainName(payload.digest) ||
        !isPlainName(payload.identifier)) {
        damaged();
    }
    return payload;
}

std::string unpack(int descriptor, const Payload& payload) {
    const Mapping file(descriptor, payload.end);
    if (file.bytes().empty()) {
        throw Problem("There is no memory to unpack the program");
    }
    std::string archive(payload.size, '\0');
    std::vector<std::future<bool>> unpacking;
    for (const Part& part : payload.parts) {
        unpacking.push_back(
            std::async([&file, &part, &archive] { return unpackPart(file.bytes(), part, archive.data()); }));
    }
    bool whole = true;
    for (std::future<bool>& part : unpacking) {
        whole = part.get() && whole;
    }
    if (!whole) {
        damaged();
    }
    return archive;
}

} // namespace launcher
