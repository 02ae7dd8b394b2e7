#include "hdiutil/front/PropertyListText.h"

#include "base/PropertyListParser.h"
#include "hdiutil/volume/HfsNames.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace hdi {
namespace {

// XML has no place for bytes that are no UTF-8, nor for most control characters: U+FFFD stands for each.
std::string fitForXml(const std::string& text) {
    std::u16string units = hfs::toUtf16(text);
    std::ranges::replace_if(
        units,
        [](char16_t unit) {
            return (unit < u' ' && unit != u'\t' && unit != u'\n') || unit == 0xFFFE || unit == 0xFFFF;
        },
        char16_t{0xFFFD});
    return hfs::toUtf8(units);
}

void setText(plist_t dictionary, const char* key, const std::string& text) {
    plist_dict_set_item(dictionary, key, plist_new_string(fitForXml(text).c_str()));
}

void setFlag(plist_t dictionary, const char* key, bool flag) {
    plist_dict_set_item(dictionary, key, plist_new_bool(flag ? 1 : 0));
}

plist_t entities(const std::vector<AttachedRow>& rows) {
    plist_t list = plist_new_array();
    for (const AttachedRow& row : rows) {
        plist_t entity = plist_new_dict();
        setText(entity, "content-hint", row.content);
        setText(entity, "dev-entry", row.device);
        setFlag(entity, "potentially-mountable", row.isMounted());
        if (row.isMounted()) {
            setText(entity, "mount-point", row.shownPath);
        }
        plist_array_append_item(list, entity);
    }
    return list;
}

std::string xml(const base::PropertyListNode& root) {
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root.get(), &text, &length);
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text == nullptr ? std::string() : std::string(text, length);
}

} // namespace

std::string attachPlist(const std::vector<AttachedRow>& rows) {
    const base::PropertyListNode root(plist_new_dict());
    plist_dict_set_item(root.get(), "system-entities", entities(rows));
    return xml(root);
}

std::string infoPlist(const std::vector<AttachRecord>& records) {
    const base::PropertyListNode root(plist_new_dict());
    plist_t images = plist_new_array();
    for (const AttachRecord& record : records) {
        plist_t image = plist_new_dict();
        setText(image, "image-path", record.imagePath);
        setFlag(image, "writeable", false);
        setText(image, "method", record.method == AttachMethod::kFuse ? "fuse" : "extracted");
        if (!record.damage.empty()) {
            setText(image, "damage", record.damage);
        }
        plist_dict_set_item(image, "system-entities", entities(record.rows));
        plist_array_append_item(images, image);
    }
    plist_dict_set_item(root.get(), "images", images);
    return xml(root);
}

std::string imageInfoPlist(const ImageFacts& facts) {
    const base::PropertyListNode root(plist_new_dict());
    setText(root.get(), "Format", facts.format);
    setText(root.get(), "Format Description", facts.description);
    setFlag(root.get(), "Checksummed", facts.hasChecksum());
    plist_t size = plist_new_dict();
    plist_dict_set_item(size, "Total Bytes", plist_new_uint(facts.diskBytes));
    plist_dict_set_item(size, "Compressed Bytes", plist_new_uint(facts.fileBytes));
    plist_dict_set_item(size, "Chunks", plist_new_uint(facts.chunkCount));
    plist_dict_set_item(root.get(), "Size Information", size);
    plist_t properties = plist_new_dict();
    setFlag(properties, "Software License Agreement", facts.hasLicence);
    setFlag(properties, "Encrypted", facts.isEncrypted);
    plist_dict_set_item(root.get(), "Properties", properties);
    return xml(root);
}

} // namespace hdi
