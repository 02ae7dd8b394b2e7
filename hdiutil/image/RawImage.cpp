#include "hdiutil/image/RawImage.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <utility>

namespace hdi {

namespace {

struct Signature {
    std::size_t offset;
    std::string_view text;
};

constexpr std::size_t kSmallestDisk = 512;

constexpr Signature kSignatures[] = {
    {510, "\x55\xaa"},  // MBR, or a boot sector
    {512, "EFI PART"},  // GPT
    {4096, "EFI PART"}, // GPT, with large sectors
    {0, "ER"},          // APM
    {512, "PM"},        // APM
    {1024, "H+"},       // HFS+
    {1024, "HX"},       // HFSX
    {1024, "BD"},       // HFS
    {32, "NXSB"},       // APFS
    {32769, "CD001"},   // ISO 9660
    {32769, "BEA01"},   // UDF
};

class RawImage final : public DiskImage {
public:
    RawImage(ByteSourcePtr disk, ImageFacts facts) : disk_(std::move(disk)), facts_(std::move(facts)) {
        facts_.diskBytes = disk_->size();
    }

    ByteSourcePtr disk() const override { return disk_; }
    const ImageFacts& facts() const override { return facts_; }
    std::vector<std::string> licences() const override { return {}; }
    bool verifyDataFork() const override { return false; }
    void verifyTables(const std::function<void(double)>& progress) const override {
        if (progress != nullptr) {
            progress(1);
        }
    }

private:
    ByteSourcePtr disk_;
    ImageFacts facts_;
};

} // namespace

std::unique_ptr<DiskImage> openRawImage(const ByteSourcePtr& file) {
    std::array<char, 32769 + 5> head{};
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(head.size(), file->size()));
    file->read(0, std::as_writable_bytes(std::span(head).first(length)));
    const std::string_view text(head.data(), length);
    const bool known = std::any_of(std::begin(kSignatures), std::end(kSignatures), [text](const Signature& signature) {
        return signature.offset < text.size() && text.substr(signature.offset).starts_with(signature.text);
    });
    if (!known || length < kSmallestDisk) {
        return nullptr;
    }
    ImageFacts facts;
    facts.format = "raw";
    facts.description = "raw disk image";
    facts.fileBytes = file->size();
    return imageOfDisk(file, std::move(facts));
}

std::unique_ptr<DiskImage> imageOfDisk(ByteSourcePtr disk, ImageFacts facts) {
    return std::make_unique<RawImage>(std::move(disk), std::move(facts));
}

} // namespace hdi
