#include "tools/qn-portal/check/VolumeFiles.h"

#include <filesystem>

namespace portal::check {

namespace {
constexpr int kMostLinks = 16;
}

std::optional<hdi::NodeId> VolumeFiles::find(std::string_view path) const {
    return walk(path, 0);
}

std::optional<hdi::NodeId> VolumeFiles::walk(std::string_view path, int links) const {
    hdi::NodeId node = volume_.root();
    std::filesystem::path folder;
    for (const auto& part : std::filesystem::path(path)) {
        const auto next = volume_.lookUp(node, part.native());
        if (!next) {
            return std::nullopt;
        }
        node = *next;
        if (volume_.attributes(node).kind == hdi::NodeKind::kSymlink) {
            const auto target = (folder / volume_.linkTarget(node)).lexically_normal();
            if (links == kMostLinks || target.is_absolute() || target.native().starts_with("..")) {
                return std::nullopt;
            }
            const auto found = walk(target.native(), links + 1);
            if (!found) {
                return std::nullopt;
            }
            node = *found;
            folder = target;
        } else {
            folder /= part;
        }
    }
    return node;
}

QByteArray VolumeFiles::contents(hdi::NodeId file, std::size_t most) const {
    const auto size = std::min<std::uint64_t>(volume_.attributes(file).size, most);
    QByteArray bytes(static_cast<qsizetype>(size), '\0');
    const std::size_t got =
        volume_.read(file, 0, std::as_writable_bytes(std::span(bytes.data(), static_cast<std::size_t>(bytes.size()))));
    bytes.truncate(static_cast<qsizetype>(got));
    return bytes;
}

} // namespace portal::check
