#include "hdiutil/tests/front/DamageRun.h"

#include "hdiutil/front/Attach.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <span>
#include <string_view>

namespace hdi::test {
namespace {

constexpr std::size_t kTrailer = 512;

struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
};

std::uint64_t bigEndian(std::span<const char> bytes, std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

bool hasTrailer(std::span<const char> bytes) {
    return bytes.size() >= kTrailer && std::string_view(bytes.data() + bytes.size() - kTrailer, 4) == "koly";
}

Range trailerRange(std::span<const char> bytes) {
    return hasTrailer(bytes) ? Range{bytes.size() - kTrailer, bytes.size()} : Range{0, bytes.size()};
}

// Where the trailer says the property list is.
Range listRange(std::span<const char> bytes) {
    if (!hasTrailer(bytes)) {
        return {0, bytes.size()};
    }
    const std::size_t trailer = bytes.size() - kTrailer;
    const std::size_t begin = bigEndian(bytes, trailer + 0xD8, 8);
    return {begin, begin + bigEndian(bytes, trailer + 0xE0, 8)};
}

Range dataRange(std::span<const char> bytes) {
    if (!hasTrailer(bytes)) {
        return {0, bytes.size()};
    }
    const std::size_t trailer = bytes.size() - kTrailer;
    const std::size_t begin = bigEndian(bytes, trailer + 0x18, 8);
    return {begin, begin + bigEndian(bytes, trailer + 0x20, 8)};
}

// The first extent of the catalog file of an HFS+ volume that lies uncompressed in the file; else the data.
Range treeRange(std::span<const char> bytes) {
    for (std::size_t at = 1024; at + 512 < bytes.size(); at += 512) {
        const std::string_view signature(bytes.data() + at, 4);
        if (signature != std::string_view("H+\0\4", 4) && signature != std::string_view("HX\0\5", 4)) {
            continue;
        }
        const std::uint64_t block = bigEndian(bytes, at + 40, 4);
        const std::uint64_t begin = at - 1024 + bigEndian(bytes, at + 272 + 16, 4) * block;
        const std::uint64_t end = begin + bigEndian(bytes, at + 272 + 20, 4) * block;
        if (block != 0 && begin < end && end <= bytes.size()) {
            return {begin, end};
        }
    }
    return dataRange(bytes);
}

std::string describe(const Volume& volume, NodeId node, const Attributes& attributes) {
    std::string text = std::to_string(static_cast<int>(attributes.kind)) + " " + std::to_string(attributes.mode) + " ";
    if (attributes.kind == NodeKind::kSymlink) {
        return text + volume.linkTarget(node);
    }
    if (attributes.kind == NodeKind::kFolder) {
        return text;
    }
    constexpr std::uint64_t kSane = std::uint64_t{64} * 1024 * 1024;
    if (attributes.size > kSane) {
        return text + "size " + std::to_string(attributes.size); // larger than any file of the subjects
    }
    std::vector<std::byte> bytes(static_cast<std::size_t>(attributes.size));
    const std::size_t count = volume.read(node, 0, bytes);
    const std::string_view view(reinterpret_cast<const char*>(bytes.data()), count);
    return text + std::to_string(attributes.size) + " " + std::to_string(std::hash<std::string_view>()(view));
}

// Every entry that can be read; the others set `readError`.
class Walker {
public:
    Walker(const Volume& volume, std::map<std::string, std::string>& contents, bool& readError)
        : volume_(volume), contents_(contents), readError_(readError) {}

    void walk(NodeId folder, const std::string& path) {
        std::vector<DirectoryEntry> entries;
        try {
            entries = volume_.list(folder);
        } catch (const ImageError&) {
            readError_ = true;
        }
        for (const DirectoryEntry& entry : entries) {
            if (++seen_ < kMostEntries) {
                visit(entry, path + "/" + entry.name);
            }
        }
    }

private:
    static constexpr unsigned kMostEntries = 20000; // a damaged tree may hold many names for one folder

    void visit(const DirectoryEntry& entry, const std::string& path) {
        try {
            const Attributes attributes = volume_.attributes(entry.node);
            contents_[path] = describe(volume_, entry.node, attributes);
            const bool deep = std::count(path.begin(), path.end(), '/') > 64;
            if (attributes.kind == NodeKind::kFolder && !deep) {
                walk(entry.node, path);
            }
        } catch (const ImageError&) {
            readError_ = true;
        }
    }

    const Volume& volume_;
    std::map<std::string, std::string>& contents_;
    bool& readError_;
    unsigned seen_ = 0;
};

} // namespace

std::string nameOf(Damage damage) {
    constexpr const char* kNames[] = {"truncated",        "hole of zeros", "byte in trailer",
                                      "byte in the list", "byte in data",  "byte in a B-tree"};
    return kNames[static_cast<int>(damage)];
}

std::string nameOf(Verdict verdict) {
    constexpr const char* kNames[] = {"refused", "EIO", "unaffected", "silently wrong"};
    return kNames[static_cast<int>(verdict)];
}

DamageSubject::DamageSubject(std::string path, std::string password)
    : path_(std::move(path)), password_(std::move(password)) {
    std::ifstream file(path_, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(file), {});
    bool readError = false;
    contents_ = contentsOf(path_, true, readError);
    checksummed_ = hasTrailer(bytes_) || !password_.empty();
    if (readError || contents_.empty()) {
        throw std::runtime_error(path_ + " is damaged itself");
    }
}

std::vector<char> DamageSubject::damaged(Damage damage, std::uint64_t seed) const {
    std::mt19937_64 random(seed * 6 + static_cast<std::uint64_t>(damage));
    std::vector<char> bytes = bytes_;
    if (damage == Damage::kTruncated) {
        bytes.resize(random() % bytes.size());
        return bytes;
    }
    if (damage == Damage::kHole) {
        const std::size_t begin = random() % bytes.size();
        const std::size_t length = 1 + random() % std::max<std::size_t>(1, bytes.size() / 8);
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                  bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), begin + length)), '\0');
        return bytes;
    }
    const Range range = damage == Damage::kTrailerByte ? trailerRange(bytes)
                        : damage == Damage::kListByte  ? listRange(bytes)
                        : damage == Damage::kDataByte  ? dataRange(bytes)
                                                       : treeRange(bytes);
    const std::size_t at = range.begin + random() % std::max<std::size_t>(1, range.end - range.begin);
    bytes.at(at) = static_cast<char>(bytes.at(at) ^ static_cast<char>(1 + random() % 255));
    return bytes;
}

DamageSubject::Contents DamageSubject::contentsOf(const std::string& path, bool verify, bool& readError) const {
    AttachOptions options;
    options.password = std::make_shared<Password>();
    for (const char c : password_) {
        options.password->append(static_cast<std::byte>(c));
    }
    options.imagePath = path;
    options.verify = verify;
    const PreparedImage prepared = prepareImage(options);
    Contents contents;
    for (const ImageSlot& slot : prepared.opened.slots) {
        if (slot.volume) {
            contents[slot.suffix] = slot.volume->name();
            Walker(*slot.volume, contents, readError).walk(slot.volume->root(), slot.suffix);
        }
    }
    return contents;
}

Verdict DamageSubject::judge(const std::vector<char>& bytes, const std::string& scratchFile, bool verify) const {
    std::ofstream(scratchFile, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bool readError = false;
    Contents found;
    try {
        found = contentsOf(scratchFile, verify, readError);
    } catch (const FrontError&) {
        return Verdict::kRefused;
    }
    const bool right = std::all_of(found.begin(), found.end(), [&](const auto& entry) {
        const auto expected = contents_.find(entry.first);
        return expected != contents_.end() && expected->second == entry.second;
    });
    // What is missing without an error has been lost silently.
    if (!right || (!readError && found.size() != contents_.size())) {
        return Verdict::kSilentlyWrong;
    }
    return readError ? Verdict::kReadError : Verdict::kUnaffected;
}

} // namespace hdi::test
