#include "hdiutil/image/Licence.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/MacRoman.h"
#include "hdiutil/image/RichText.h"

#include <algorithm>
#include <map>

namespace hdi {

namespace {

constexpr int kFirstId = 5000;
constexpr std::size_t kLanguageSize = 6;

std::span<const Resource> resourcesOf(const Resources& resources, const char* type) {
    const auto found = resources.find(type);
    return found == resources.end() ? std::span<const Resource>() : std::span(found->second);
}

// The resource number of the default language's text.
int defaultId(const Resources& resources) {
    const auto lists = resourcesOf(resources, "LPic");
    if (lists.empty()) {
        return kFirstId;
    }
    const std::span<const std::byte> bytes = lists.front().data;
    const std::size_t count = bytes.size() < 4 ? 0 : (bytes.size() - 4) / kLanguageSize;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = 4 + i * kLanguageSize;
        if (loadBig<std::uint16_t>(bytes, at) == loadBig<std::uint16_t>(bytes, 0)) {
            return kFirstId + loadBig<std::uint16_t>(bytes, at + 2);
        }
    }
    return kFirstId;
}

} // namespace

std::vector<std::string> licenceTexts(const Resources& resources) {
    std::map<int, std::string> byId;
    // The same licence may be there in both kinds; the first one stays.
    for (const Resource& text : resourcesOf(resources, "TEXT")) {
        byId.emplace(text.id, utf8FromMacRoman(text.data));
    }
    for (const Resource& text : resourcesOf(resources, "RTF ")) {
        byId.emplace(text.id, utf8FromRichText(text.data));
    }
    std::vector<std::string> licences;
    const auto first = byId.find(defaultId(resources));
    if (first != byId.end()) {
        licences.push_back(std::move(first->second));
        byId.erase(first);
    }
    for (auto& [id, text] : byId) {
        licences.push_back(std::move(text));
    }
    return licences;
}

} // namespace hdi
