#include "base/Files.h"
#include "base/PropertyListParser.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/RawImage.h"
#include "hdiutil/image/Sectors.h"
#include "hdiutil/image/SparseImage.h"

#include <plist/plist.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <list>
#include <mutex>
#include <optional>
#include <utility>

namespace hdi {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMostBand = std::uint64_t{1} << 40U;
constexpr std::size_t kOpenBands = 32;

struct Facts {
    std::uint64_t size = 0;
    std::uint64_t bandBytes = 0;
};

// Of both spellings that images have: a number, or a text of one. 0 for anything else.
std::uint64_t numberAt(plist_t dictionary, const char* key) {
    plist_t node = plist_dict_get_item(dictionary, key);
    std::uint64_t value = 0;
    if (node != nullptr && plist_get_node_type(node) == PLIST_UINT) {
        plist_get_uint_val(node, &value);
    } else if (node != nullptr && plist_get_node_type(node) == PLIST_STRING) {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        std::from_chars(text, text + length, value);
    }
    return value;
}

std::optional<Facts> factsIn(const std::string& path) {
    const std::optional<std::string> text = base::readSmallFile(path);
    const base::PropertyListNode root = text ? base::parsePropertyList(*text) : nullptr;
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    return Facts{numberAt(root.get(), "size"), numberAt(root.get(), "band-size")};
}

Facts readFacts(const std::string& folder) {
    std::optional<Facts> facts = factsIn(folder + "/Info.plist");
    if (!facts) {
        facts = factsIn(folder + "/Info.bckup"); // what it is there for
    }
    if (!facts || facts->size == 0 || facts->size > kMaxSectors * kSectorBytes || facts->bandBytes < kSectorBytes ||
        facts->bandBytes > kMostBand) {
        damaged("the sparse bundle's Info.plist is missing or damaged");
    }
    return *facts;
}

class BundleSource final : public ByteSource {
public:
    BundleSource(std::string bands, const Facts& facts) : bands_(std::move(bands)), facts_(facts) {}

    std::uint64_t size() const override { return facts_.size; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        while (!into.empty()) {
            const std::uint64_t within = offset % facts_.bandBytes;
            const auto piece =
                into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), facts_.bandBytes - within)));
            readBand(offset / facts_.bandBytes, within, piece);
            offset += piece.size();
            into = into.subspan(piece.size());
        }
    }

private:
    struct Band {
        std::uint64_t number = 0;
        ByteSourcePtr file; // null for one that is not there
    };

    // A band may be shorter than it could be; zeros are missing.
    void readBand(std::uint64_t number, std::uint64_t offset, std::span<std::byte> into) const {
        const ByteSourcePtr file = open(number);
        const std::uint64_t there = file && offset < file->size() ? file->size() - offset : 0;
        const auto stored = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), there));
        if (stored > 0) {
            file->read(offset, into.first(stored));
        }
        std::ranges::fill(into.subspan(stored), std::byte{0});
    }

    ByteSourcePtr open(std::uint64_t number) const {
        const std::lock_guard lock(mutex_);
        const auto found = std::ranges::find(open_, number, &Band::number);
        if (found != open_.end()) {
            open_.splice(open_.begin(), open_, found);
        } else {
            open_.push_front({number, openBand(number)});
            open_.resize(std::min(open_.size(), kOpenBands));
        }
        return open_.front().file;
    }

    ByteSourcePtr openBand(std::uint64_t number) const {
        char name[16];
        const auto end = std::to_chars(std::begin(name), std::end(name), number, 16).ptr;
        const std::string path = bands_ + "/" + std::string(name, end);
        std::error_code error;
        const fs::file_status status = fs::symlink_status(path, error);
        if (status.type() == fs::file_type::not_found) {
            return nullptr;
        }
        if (!fs::is_regular_file(status)) { // nor a link to what lies elsewhere
            throw ImageError(ImageError::Kind::kDamaged, path + ": not a file");
        }
        return openFile(path);
    }

    const std::string bands_;
    const Facts facts_;
    mutable std::mutex mutex_;
    mutable std::list<Band> open_; // the last used first
};

} // namespace

bool isSparseBundle(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path + "/bands", error) &&
           (fs::exists(path + "/Info.plist", error) || fs::exists(path + "/Info.bckup", error));
}

std::unique_ptr<DiskImage> openSparseBundle(const std::string& folder) {
    const std::optional<std::string> token = base::readSmallFile(folder + "/token");
    if (token && token->starts_with("encrcdsa")) {
        throw ImageError(ImageError::Kind::kEncrypted, "encrypted sparse bundles are not supported");
    }
    const Facts read = readFacts(folder);
    ImageFacts facts;
    facts.format = "UDSB";
    facts.description = "sparse bundle disk image";
    facts.fileBytes = read.size;
    return imageOfDisk(std::make_shared<BundleSource>(folder + "/bands", read), facts);
}

} // namespace hdi
