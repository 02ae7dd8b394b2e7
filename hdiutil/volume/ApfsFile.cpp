#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/ApfsVolume.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace hdi {

namespace {

constexpr std::size_t kOpenFiles = 32;
constexpr std::string_view kCompressionName = "com.apple.decmpfs";
constexpr std::string_view kResourceForkName = "com.apple.ResourceFork";
constexpr std::uint64_t kMaxAttributeBytes = 64ULL * 1024;

// Up to that of November 2020 the library gives the time of creation for that of modification, and the other way round.
bool takesTimesForEachOther() {
    static const bool kDoes = std::string_view(libfsapfs_get_version()) <= "20201107";
    return kDoes;
}

std::timespec toTime(std::int64_t nanoseconds) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    const std::int64_t rest = ((nanoseconds % kSecond) + kSecond) % kSecond;
    return {static_cast<std::time_t>((nanoseconds - rest) / kSecond), static_cast<long>(rest)};
}

apfs::ExtendedAttribute findAttribute(const ApfsContainer& container, libfsapfs_file_entry_t* entry,
                                      std::string_view name) {
    libfsapfs_error_t* error = nullptr;
    libfsapfs_extended_attribute_t* attribute = nullptr;
    const auto* const text = reinterpret_cast<const std::uint8_t*>(name.data());
    const int result =
        libfsapfs_file_entry_get_extended_attribute_by_utf8_name(entry, text, name.size(), &attribute, &error);
    if (result < 0) {
        container.fail("an APFS file's attributes cannot be read", error);
    }
    return apfs::ExtendedAttribute(attribute);
}

std::uint64_t sizeOf(const ApfsContainer& container, libfsapfs_extended_attribute_t* attribute) {
    libfsapfs_error_t* error = nullptr;
    size64_t size = 0;
    container.check(libfsapfs_extended_attribute_get_size(attribute, &size, &error),
                    "an APFS attribute's size cannot be read", error);
    return size;
}

// An extended attribute as bytes to read from. Used with the container's mutex held.
class AttributeSource final : public ByteSource {
public:
    AttributeSource(std::shared_ptr<ApfsContainer> container, apfs::ExtendedAttribute attribute)
        : container_(std::move(container)), attribute_(std::move(attribute)),
          size_(sizeOf(*container_, attribute_.get())) {}

    std::uint64_t size() const override { return size_; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        libfsapfs_error_t* error = nullptr;
        const ssize_t length = libfsapfs_extended_attribute_read_buffer_at_offset(
            attribute_.get(), into.data(), into.size(), static_cast<off64_t>(offset), &error);
        if (length < 0 || static_cast<std::size_t>(length) != into.size()) {
            container_->fail("an APFS attribute cannot be read", error);
        }
    }

private:
    std::shared_ptr<ApfsContainer> container_;
    apfs::ExtendedAttribute attribute_;
    std::uint64_t size_;
};

} // namespace

ApfsVolume::OpenFile& ApfsVolume::opened(NodeId node) const {
    const auto known = std::ranges::find(files_, node, &OpenFile::node);
    if (known != files_.end()) {
        files_.splice(files_.begin(), files_, known);
        return files_.front();
    }
    libfsapfs_error_t* error = nullptr;
    libfsapfs_file_entry_t* entry = nullptr;
    container_->check(libfsapfs_volume_get_file_entry_by_identifier(volume_.get(), node, &entry, &error),
                      "an APFS file cannot be opened", error);
    OpenFile file;
    file.node = node;
    file.entry.reset(entry);
    file.attributes = readAttributes(entry);
    if (file.attributes.kind == NodeKind::kFile) {
        openCompressed(file);
        // Not asked for of a compressed file: the library refuses those whose compression it does not know.
        size64_t size = 0;
        if (!file.compression) {
            container_->check(libfsapfs_file_entry_get_size(entry, &size, &error), "an APFS file's size cannot be read",
                              error);
        }
        file.attributes.size = file.compression ? file.compression->size : size;
    }
    files_.push_front(std::move(file));
    if (files_.size() > kOpenFiles) {
        files_.pop_back();
    }
    return files_.front();
}

Attributes ApfsVolume::readAttributes(libfsapfs_file_entry_t* entry) const {
    constexpr const char* kWhat = "an APFS file's attributes cannot be read";
    libfsapfs_error_t* error = nullptr;
    Attributes attributes;
    std::uint16_t mode = 0;
    container_->check(libfsapfs_file_entry_get_file_mode(entry, &mode, &error), kWhat, error);
    attributes.kind = S_ISDIR(mode) ? NodeKind::kFolder : S_ISLNK(mode) ? NodeKind::kSymlink : NodeKind::kFile;
    attributes.mode = mode & 0777U;
    std::int64_t modified = 0;
    std::int64_t changed = 0;
    const auto getModified =
        takesTimesForEachOther() ? libfsapfs_file_entry_get_creation_time : libfsapfs_file_entry_get_modification_time;
    container_->check(getModified(entry, &modified, &error), kWhat, error);
    container_->check(libfsapfs_file_entry_get_inode_change_time(entry, &changed, &error), kWhat, error);
    attributes.modified = toTime(modified);
    attributes.changed = toTime(changed);
    if (attributes.kind == NodeKind::kSymlink) {
        std::size_t size = 0;
        if (libfsapfs_file_entry_get_utf8_symbolic_link_target_size(entry, &size, nullptr) == 1 && size > 0) {
            attributes.size = size - 1;
        }
    }
    return attributes;
}

void ApfsVolume::openCompressed(OpenFile& file) const {
    const auto attribute = findAttribute(*container_, file.entry.get(), kCompressionName);
    if (!attribute) {
        return;
    }
    std::vector<std::byte> bytes = readAttribute(attribute.get());
    file.compression = parseDecmpfsHeader(bytes);
    if (!file.compression) {
        return;
    }
    if (isInResourceFork(file.compression->type)) {
        if (auto fork = findAttribute(*container_, file.entry.get(), kResourceForkName)) {
            file.resourceFork = std::make_shared<AttributeSource>(container_, std::move(fork));
        }
    } else {
        bytes.erase(bytes.begin(), bytes.begin() + kDecmpfsHeaderBytes);
        file.inlineContents = std::move(bytes);
    }
}

std::vector<std::byte> ApfsVolume::readAttribute(libfsapfs_extended_attribute_t* attribute) const {
    const std::uint64_t size = sizeOf(*container_, attribute);
    if (size > kMaxAttributeBytes) {
        damaged("an APFS file's compression attribute is too long");
    }
    libfsapfs_error_t* error = nullptr;
    std::vector<std::byte> bytes(static_cast<std::size_t>(size));
    const ssize_t length =
        libfsapfs_extended_attribute_read_buffer_at_offset(attribute, bytes.data(), bytes.size(), 0, &error);
    if (length < 0 || static_cast<std::size_t>(length) != bytes.size()) {
        container_->fail("an APFS attribute cannot be read", error);
    }
    return bytes;
}

std::size_t ApfsVolume::read(NodeId node, std::uint64_t offset, std::span<std::byte> into) const {
    const std::lock_guard lock(container_->mutex());
    OpenFile& file = opened(node);
    if (file.attributes.kind != NodeKind::kFile) {
        damaged("something that is no file was to be read as one");
    }
    if (offset >= file.attributes.size) {
        return 0;
    }
    into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), file.attributes.size - offset)));
    if (file.compression) {
        return readCompressed(file, offset, into);
    }
    for (std::size_t done = 0; done < into.size();) {
        libfsapfs_error_t* error = nullptr;
        const ssize_t length = libfsapfs_file_entry_read_buffer_at_offset(
            file.entry.get(), into.data() + done, into.size() - done, static_cast<off64_t>(offset + done), &error);
        if (length <= 0) {
            container_->fail("an APFS file cannot be read", error);
        }
        done += static_cast<std::size_t>(length);
    }
    return into.size();
}

std::size_t ApfsVolume::readCompressed(OpenFile& file, std::uint64_t offset, std::span<std::byte> into) const {
    const bool inBlocks = isInResourceFork(file.compression->type);
    if (inBlocks && !file.resourceFork) {
        damaged("a compressed file has no resource fork");
    }
    std::size_t done = 0;
    while (done < into.size()) {
        const std::uint64_t number = inBlocks ? (offset + done) / kDecmpfsBlockBytes : 0;
        if (file.block.empty() || file.blockNumber != number) {
            file.block = inBlocks ? unpackBlock(*file.compression, *file.resourceFork, number)
                                  : unpackInline(*file.compression, file.inlineContents);
            file.blockNumber = number;
        }
        const auto inside = static_cast<std::size_t>(offset + done - number * kDecmpfsBlockBytes);
        if (inside >= file.block.size()) {
            damaged("a compressed file is shorter than it claims");
        }
        const std::size_t part = std::min(into.size() - done, file.block.size() - inside);
        std::memcpy(into.data() + done, file.block.data() + inside, part);
        done += part;
    }
    return done;
}

} // namespace hdi
