#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// A folder on this machine as it is to stand on a volume.
struct HfsSource {
    struct Item {
        std::uint32_t parent = 0; // place in `items`; of the root itself, 0
        std::string name;         // on this machine
        std::u16string storedName;
        struct stat status {};
        std::string target; // of a link
    };

    std::string folder;
    bool caseSensitive = false;
    // The root first, then every folder's items together, in the order of the catalog.
    std::vector<Item> items;

    // The path on this machine.
    std::string path(std::size_t item) const;
};

// Reads all of `folder`, links not followed. Throws ImageError: kUnsupported, naming the path, for a name that the
// format cannot hold, two names that it takes for one, or something that is no file, folder or link; kIo when the
// kernel refuses.
HfsSource scanHfsSource(const std::string& folder, bool caseSensitive);

// Nothing but a root that belongs to the caller.
HfsSource emptyHfsSource(bool caseSensitive);

// The name as stored: decomposed, a colon as a slash. Absent when it is not UTF-8, or longer than 255 units.
std::optional<std::u16string> storedHfsName(std::string_view name);

} // namespace hdi
