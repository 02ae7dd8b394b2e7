#include "hdiutil/image/UdifPlist.h"

#include "hdiutil/image/ImageError.h"

#include <plist/plist.h>

#include <charconv>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace hdi {

namespace {

using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;
using Characters = std::unique_ptr<char, decltype(&std::free)>;

[[noreturn]] void damaged(const char* message) {
    throw ImageError(ImageError::Kind::kDamaged, message);
}

// Position after a comment, CDATA section, declaration or processing instruction that begins at `at`; absent when it is
// not closed, holds another `<`, or declares something.
std::optional<std::size_t> skipSpecial(std::string_view xml, std::size_t at) {
    std::string_view end = ">";
    const std::string_view rest = xml.substr(at);
    if (rest.starts_with("<!--")) {
        end = "-->";
    } else if (rest.starts_with("<?")) {
        end = "?>";
    } else if (!rest.starts_with("<!DOCTYPE")) {
        return std::nullopt;
    }
    const std::size_t close = xml.find(end, at + 4);
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view inside = xml.substr(at + 1, close - at - 1);
    if (inside.find_first_of("<[") != std::string_view::npos) {
        return std::nullopt;
    }
    return close + end.size();
}

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

bool isHarmlessXml(std::span<const char> bytes) {
    const std::string_view xml(bytes.data(), bytes.size());
    // A NUL inside a text, written as it is or by its number, makes the library abort.
    if (xml.find('\0') != std::string_view::npos || xml.find("&#") != std::string_view::npos) {
        return false;
    }
    int depth = 0;
    std::size_t at = xml.find('<');
    while (at != std::string_view::npos) {
        const char next = at + 1 < xml.size() ? xml[at + 1] : '\0';
        if (next == '!' || next == '?') {
            const auto after = skipSpecial(xml, at);
            if (!after) {
                return false;
            }
            at = xml.find('<', *after);
            continue;
        }
        const std::size_t close = xml.find_first_of("<>", at + 1);
        if (close == std::string_view::npos || xml[close] == '<') {
            return false;
        }
        depth += next == '/' ? -1 : (xml[close - 1] == '/' ? 0 : 1);
        if (depth < 0 || depth > kMaxPlistDepth) {
            return false;
        }
        at = xml.find('<', close);
    }
    return depth == 0;
}

Resources parseUdifPlist(std::span<const std::byte> bytes) {
    const std::span<const char> xml(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (xml.size() > kMaxPlistBytes || !isHarmlessXml(xml)) {
        damaged("the image's property list is too large or not plain enough");
    }
    plist_t rawRoot = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &rawRoot);
    const Node root(rawRoot, &plist_free);
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
