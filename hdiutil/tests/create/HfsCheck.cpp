#include "hdiutil/tests/create/HfsCheck.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/create/HfsCheckFields.h"
#include "hdiutil/tests/create/HfsCheckTree.h"
#include "hdiutil/volume/HfsNames.h"

#include <map>
#include <set>

namespace hdi::test {

namespace {

std::uint32_t u32(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint32_t>(bytes, at);
}
std::uint16_t u16(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint16_t>(bytes, at);
}

std::u16string nameAt(std::span<const std::byte> bytes, std::size_t at) {
    std::u16string name;
    for (std::size_t i = 0; i < u16(bytes, at); ++i) {
        name += static_cast<char16_t>(u16(bytes, at + 2 + 2 * i));
    }
    return name;
}

class VolumeCheck {
public:
    explicit VolumeCheck(const Bytes& volume) : volume_(volume), header_(std::span(volume_).subspan(1024, 512)) {}

    std::vector<std::string> run() {
        blockSize_ = u32(header_, 40);
        total_ = u32(header_, 44);
        used_.resize(total_);
        isHfsx_ = u16(header_, 0) == 0x4858;
        expect(u16(header_, 2) == (isHfsx_ ? 5 : 4), "version");
        expect(static_cast<std::uint64_t>(total_) * blockSize_ == volume_.size(), "size");
        const auto copy = std::span(volume_).last(1024).first(512);
        expect(std::equal(header_.begin(), header_.end(), copy.begin()), "the header's copy differs");
        expect((u32(header_, 4) & 0x100U) != 0, "not unmounted in order");
        checkHeaderFields(header_, problems_);
        expectZero(volume_, 0, 1024, "the boot blocks", problems_);
        expectZero(volume_, volume_.size() - 512, volume_.size(), "the last sector", problems_);
        markUsed(0, 1, "header");
        markUsed(total_ - 1, 1, "copy of the header");
        const Bytes extents = fork(header_, 192, "extents file");
        checkTree(
            {"extents", 10, false}, extents,
            [](auto a, auto b) {
                return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end()) ? -1 : 1;
            },
            problems_);
        expect(extents[51] == std::byte{0}, "extents: how keys are compared");
        expect(u32(extents, 46) == u32(header_, 200), "extents: clump size of the tree and of its fork");
        const Bytes catalog = fork(header_, 272, "catalog file");
        checkCatalog(catalog);
        checkBitmap();
        return std::move(problems_);
    }

private:
    struct Record {
        std::uint32_t parent = 0;
        std::u16string name;
        std::span<const std::byte> data;
    };

    void expect(bool holds, const std::string& what) {
        if (!holds) {
            problems_.push_back(what);
        }
    }

    void markUsed(std::uint32_t start, std::uint32_t count, const std::string& by) {
        for (std::uint64_t block = start; block < std::uint64_t{start} + count; ++block) {
            if (block >= total_) {
                return expect(false, by + " lies outside the volume");
            }
            expect(!used_[block], by + " overlaps");
            used_[block] = true;
        }
    }

    Bytes fork(std::span<const std::byte> bytes, std::size_t at, const std::string& by) {
        const auto length = loadBig<std::uint64_t>(bytes, at);
        Bytes contents;
        std::uint32_t blocks = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            const std::uint32_t start = u32(bytes, at + 16 + 8 * i);
            const std::uint32_t count = u32(bytes, at + 20 + 8 * i);
            markUsed(start, count, by);
            blocks += count;
            const auto place =
                std::span(volume_).subspan(std::size_t{start} * blockSize_, std::size_t{count} * blockSize_);
            contents.insert(contents.end(), place.begin(), place.end());
        }
        expect(blocks == u32(bytes, at + 12), by + ": total blocks");
        expect(blocks == (length + blockSize_ - 1) / blockSize_, by + ": blocks for its length");
        contents.resize(length);
        return contents;
    }

    void checkCatalog(const Bytes& catalog) {
        const bool binary = catalog[51] == std::byte{0xBC};
        expect(binary == isHfsx_, "how names are compared");
        expect(binary || catalog[51] == std::byte{0xCF} || catalog[51] == std::byte{0}, "how names are compared");
        expect(u32(catalog, 46) == u32(header_, 280), "catalog: clump size of the tree and of its fork");
        const auto order = [binary](auto a, auto b) {
            if (u32(a, 0) != u32(b, 0)) {
                return u32(a, 0) < u32(b, 0) ? -1 : 1;
            }
            return hfs::compareNames(nameAt(a, 4), nameAt(b, 4), binary);
        };
        for (const CheckedRecord& record : checkTree({"catalog", 516, true}, catalog, order, problems_)) {
            sortOut(record);
        }
        expect(folders_.size() == u32(header_, 36) + std::size_t{1}, "count of folders");
        expect(files_.size() == u32(header_, 32), "count of files");
        expect(threads_.size() == folders_.size() + files_.size(), "count of threads");
        for (const auto& [id, folder] : folders_) {
            checkFolder(id, folder);
        }
        for (const auto& [id, file] : files_) {
            checkFile(id, file);
        }
    }

    void sortOut(const CheckedRecord& record) {
        checkKeyFields(record.key, problems_);
        const Record item{u32(record.key, 0), nameAt(record.key, 4), record.data};
        const auto type = u16(record.data, 0);
        if (type == 3 || type == 4) {
            expect(item.name.empty(), "a thread's key has a name");
            checkThreadFields(record.data, problems_);
            threads_[item.parent] = {u32(record.data, 4), nameAt(record.data, 8), record.data};
            return;
        }
        expect(type == 1 || type == 2, "a record's type");
        const std::uint32_t id = u32(record.data, 8);
        expect(id == 2 || id >= 16, "a number of the format's own");
        expect((type == 1 ? folders_ : files_).emplace(id, item).second, "a number is used twice");
        expect(id < u32(header_, 64), "the next number");
        ++children_[item.parent];
        if (type == 1) {
            ++subfolders_[item.parent];
        }
    }

    void checkThread(std::uint32_t id, const Record& item, unsigned type) {
        const auto thread = threads_.find(id);
        if (thread == threads_.end()) {
            return expect(false, "no thread for " + std::to_string(id));
        }
        expect(u16(thread->second.data, 0) == type, "a thread's type");
        expect(thread->second.parent == item.parent && thread->second.name == item.name, "a thread's place");
        expect(item.parent == 1 || folders_.contains(item.parent), "a parent is missing");
    }

    void checkFolder(std::uint32_t id, const Record& folder) {
        checkThread(id, folder, 3);
        checkFolderFields(folder.data, isHfsx_, problems_);
        expect(u32(folder.data, 4) == children_[id], "the valence of " + std::to_string(id));
        expect(((u16(folder.data, 2) & 0x10U) != 0) == isHfsx_, "the flag of the folder count");
        expect(u32(folder.data, 84) == (isHfsx_ ? subfolders_[id] : 0), "the folder count");
    }

    void checkFile(std::uint32_t id, const Record& file) {
        checkThread(id, file, 4);
        checkFileFields(file.data, problems_);
        fork(file.data, 88, "file " + std::to_string(id));
        fork(file.data, 168, "resources of " + std::to_string(id));
        if (file.name.starts_with(u"iNode") && (u16(file.data, 2) & 0x20U) != 0) {
            checkChain(id, file);
        }
    }

    // From the file to its first link, and on through all.
    void checkChain(std::uint32_t id, const Record& file) {
        expect(file.name == u"iNode" + hfs::toUtf16(std::to_string(id)), "a shared file's name");
        std::uint32_t before = 0;
        std::uint32_t count = 0;
        for (std::uint32_t link = u32(file.data, 4); link != 0; ++count) {
            const auto found = files_.find(link);
            if (found == files_.end() || count > files_.size()) {
                return expect(false, "a broken chain of links");
            }
            const auto data = found->second.data;
            expect(u32(data, 48) == 0x686C6E6B && u32(data, 52) == 0x6866732B, "a link's type");
            expect(u32(data, 44) == id, "a link's reference");
            expect(u32(data, 32) == before, "a chain's way back");
            expect(u32(data, 12) == u32(folders_.at(file.parent).data, 12), "a link's date");
            before = link;
            link = u32(data, 36);
        }
        expect(count == u32(file.data, 44), "the number of links");
    }

    void checkBitmap() {
        const Bytes bitmap = fork(header_, 112, "bitmap");
        std::uint32_t free = 0;
        for (std::uint32_t i = 0; i < bitmap.size() * 8; ++i) {
            const bool isSet = (bitmap[i / 8] & (std::byte{0x80} >> (i % 8))) != std::byte{0};
            free += i < total_ && !isSet ? 1 : 0;
            expect(isSet == (i < total_ && used_[i]), "the bitmap at " + std::to_string(i));
        }
        expect(free == u32(header_, 48), "free blocks");
    }

    const Bytes& volume_;
    std::span<const std::byte> header_;
    std::uint32_t blockSize_ = 0;
    std::uint32_t total_ = 0;
    bool isHfsx_ = false;
    std::vector<bool> used_;
    std::map<std::uint32_t, Record> folders_;
    std::map<std::uint32_t, Record> files_;
    std::map<std::uint32_t, Record> threads_;
    std::map<std::uint32_t, std::uint32_t> children_;
    std::map<std::uint32_t, std::uint32_t> subfolders_;
    std::vector<std::string> problems_;
};

} // namespace

std::vector<std::string> checkHfsVolume(const Bytes& volume) {
    return VolumeCheck(volume).run();
}

} // namespace hdi::test
