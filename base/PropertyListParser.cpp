#include "base/PropertyListParser.h"

#include "base/BinaryPropertyList.h"
#include "base/XmlPropertyList.h"

#include <plist/plist.h>

#include <cstdint>

namespace base {
namespace {

bool isBinary(std::string_view bytes) {
    return bytes.starts_with("bplist00");
}

} // namespace

void FreePropertyList::operator()(void* node) const {
    plist_free(node);
}

bool isSafePropertyList(std::string_view bytes) {
    if (bytes.size() > kLargestPropertyList) {
        return false;
    }
    return isBinary(bytes) ? isSafeBinaryPropertyList(bytes) : isSafeXmlPropertyList(bytes);
}

PropertyListNode parsePropertyList(std::string_view bytes) {
    if (!isSafePropertyList(bytes)) {
        return nullptr;
    }
    plist_t root = nullptr;
    const auto parse = isBinary(bytes) ? plist_from_bin : plist_from_xml;
    parse(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    return PropertyListNode(root);
}

} // namespace base
