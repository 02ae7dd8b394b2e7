#include "hdiutil/create/HfsSourceScan.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsFormat.h"
#include "hdiutil/volume/HfsNames.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <memory>

namespace hdi {

namespace {

constexpr std::size_t kMaxItems = 1'500'000;

[[noreturn]] void unsupported(const std::string& path, const std::string& why) {
    throw ImageError(ImageError::Kind::kUnsupported, path + ": " + why);
}

[[noreturn]] void refused(const std::string& path) {
    throw ImageError(ImageError::Kind::kIo, path + ": " + std::strerror(errno));
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

std::vector<std::string> namesIn(const std::string& path) {
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
    if (!folder) {
        refused(path);
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        refused(path);
    }
    return names;
}

std::string targetOf(const std::string& path) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length <= 0) {
        refused(path);
    }
    return {target.data(), static_cast<std::size_t>(length)};
}

HfsSource::Item makeItem(const std::string& folder, const std::string& name, std::uint32_t parent) {
    const std::string path = folder + "/" + name;
    const auto stored = storedHfsName(name);
    if (!stored) {
        unsupported(path, "the name is not UTF-8 or longer than the 255 characters that HFS+ can hold");
    }
    if (parent == 0 && *stored == hfs::kFolderLinkFolder) {
        unsupported(path, "the name is one that HFS+ keeps for itself");
    }
    HfsSource::Item item{parent, name, *stored, {}, {}};
    if (::lstat(path.c_str(), &item.status) != 0) {
        refused(path);
    }
    if (S_ISLNK(item.status.st_mode)) {
        item.target = targetOf(path);
    } else if (!S_ISREG(item.status.st_mode) && !S_ISDIR(item.status.st_mode)) {
        unsupported(path, "only files, folders and links can be stored");
    }
    return item;
}

} // namespace

std::optional<std::u16string> storedHfsName(std::string_view name) {
    if (name.empty() || !hfs::isUtf8(name)) {
        return std::nullopt;
    }
    std::u16string stored = hfs::decompose(hfs::toUtf16(name));
    std::ranges::replace(stored, u':', u'/');
    return stored.size() <= hfs::kMaxNameUnits ? std::optional(stored) : std::nullopt;
}

std::string HfsSource::path(std::size_t item) const {
    std::vector<const std::string*> names;
    for (; item != 0; item = items[item].parent) {
        names.push_back(&items[item].name);
    }
    std::string path = folder;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path += "/" + **name;
    }
    return path;
}

HfsSource emptyHfsSource(bool caseSensitive) {
    HfsSource source{"", caseSensitive, {}};
    HfsSource::Item root;
    root.status.st_mode = S_IFDIR | 0755;
    root.status.st_nlink = 2;
    root.status.st_uid = ::getuid();
    root.status.st_gid = ::getgid();
    ::clock_gettime(CLOCK_REALTIME, &root.status.st_mtim);
    root.status.st_atim = root.status.st_ctim = root.status.st_mtim;
    source.items.push_back(std::move(root));
    return source;
}

HfsSource scanHfsSource(const std::string& folder, bool caseSensitive) {
    HfsSource source{folder, caseSensitive, {}};
    HfsSource::Item root;
    if (::stat(folder.c_str(), &root.status) != 0) {
        refused(folder);
    }
    if (!S_ISDIR(root.status.st_mode)) {
        unsupported(folder, "this is not a folder");
    }
    source.items.push_back(root);
    for (std::uint32_t parent = 0; parent < source.items.size(); ++parent) {
        if (!S_ISDIR(source.items[parent].status.st_mode)) {
            continue;
        }
        const std::string path = source.path(parent);
        const std::size_t first = source.items.size();
        for (const std::string& name : namesIn(path)) {
            source.items.push_back(makeItem(path, name, parent));
        }
        if (source.items.size() > kMaxItems) {
            unsupported(folder, "there are too many files for one volume");
        }
        const auto begin = source.items.begin() + static_cast<std::ptrdiff_t>(first);
        const auto order = [&](const HfsSource::Item& a, const HfsSource::Item& b) {
            return hfs::compareNames(a.storedName, b.storedName, caseSensitive);
        };
        std::sort(begin, source.items.end(), [&](const auto& a, const auto& b) { return order(a, b) < 0; });
        const auto same = std::adjacent_find(begin, source.items.end(),
                                             [&](const auto& a, const auto& b) { return order(a, b) == 0; });
        if (same != source.items.end()) {
            unsupported(path + "/" + same->name, "\"" + std::next(same)->name + "\" beside it is the same name there" +
                                                     std::string(caseSensitive ? "" : "; HFSX (-fs HFSX) keeps both"));
        }
    }
    return source;
}

} // namespace hdi
