#include "hdiutil/image/UdifPlist.h"

#include "base/PropertyListParser.h"
#include "hdiutil/image/ImageError.h"

#include <plist/plist.h>

#include <charconv>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace hdi {

namespace {

using Characters = std::unique_ptr<char, decltype(&std::free)>;

std::optional<std::string> textOf(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
        return std::nullopt;
    }
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return std::string(text, length);
}

std::vector<std::byte> dataOf(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_DATA) {
        damaged("a resource of the image holds no data");
    }
    std::uint64_t length = 0;
    const char* first = plist_get_data_ptr(node, &length);
    const auto bytes = std::as_bytes(std::span(first, length));
    return {bytes.begin(), bytes.end()};
}

int numberOf(const std::optional<std::string>& text) {
    int value = 0;
    if (text) {
        std::from_chars(text->data(), text->data() + text->size(), value);
    }
    return value;
}

Resource resourceOf(plist_t entry) {
    if (plist_get_node_type(entry) != PLIST_DICT) {
        damaged("a resource of the image is not a dictionary");
    }
    const auto name = textOf(plist_dict_get_item(entry, "Name"));
    const auto longName = textOf(plist_dict_get_item(entry, "CFName"));
    return {numberOf(textOf(plist_dict_get_item(entry, "ID"))), longName ? *longName : name.value_or(""),
            dataOf(plist_dict_get_item(entry, "Data"))};
}

std::vector<Resource> resourcesOf(plist_t list) {
    std::vector<Resource> resources;
    const std::uint32_t count = plist_get_node_type(list) == PLIST_ARRAY ? plist_array_get_size(list) : 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        resources.push_back(resourceOf(plist_array_get_item(list, i)));
    }
    return resources;
}

Resources resourcesByType(plist_t fork) {
    Resources resources;
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(fork, &rawIterator);
    const std::unique_ptr<void, decltype(&std::free)> iterator(rawIterator, &std::free);
    for (;;) {
        char* rawKey = nullptr;
        plist_t list = nullptr;
        plist_dict_next_item(fork, rawIterator, &rawKey, &list);
        const Characters key(rawKey, &std::free);
        if (list == nullptr || !key) {
            return resources;
        }
        resources[key.get()] = resourcesOf(list);
    }
}

} // namespace

Resources parseUdifPlist(std::span<const std::byte> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!base::isSafePropertyList(text)) {
        damaged("the image's property list is too large or not plain enough");
    }
    const base::PropertyListNode root = base::parsePropertyList(text);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        damaged("the image's property list cannot be read");
    }
    plist_t fork = plist_dict_get_item(root.get(), "resource-fork");
    if (fork == nullptr || plist_get_node_type(fork) != PLIST_DICT) {
        damaged("the image's property list holds no chunk tables");
    }
    return resourcesByType(fork);
}

} // namespace hdi
