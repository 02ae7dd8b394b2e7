#include "base/XmlPropertyList.h"

#include "base/PropertyListParser.h"

#include <algorithm>

namespace base {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kNone = std::string_view::npos;

// Where the construct that begins at `at` ends: behind `closing`, or kNone when it never does.
std::size_t behind(std::string_view text, std::size_t at, std::string_view closing) {
    const std::size_t found = text.find(closing, at);
    return found == kNone ? found : found + closing.size();
}

// "&#0;" in any of its spellings.
bool holdsNumberedNul(std::string_view text) {
    for (std::size_t at = text.find("&#"); at != kNone; at = text.find("&#", at + 2)) {
        std::size_t digit = at + 2;
        if (digit < text.size() && (text[digit] == 'x' || text[digit] == 'X')) {
            ++digit;
        }
        const std::size_t end = text.find_first_not_of('0', digit);
        if (end == kNone || text[end] == ';') {
            return true;
        }
    }
    return false;
}

// Whether what stands between the angle brackets can be read in one way only.
bool isPlain(std::string_view inside) {
    return inside.find('<') == kNone && std::count(inside.begin(), inside.end(), '"') % 2 == 0;
}

// Counts what is open while it is told one tag after the other.
class OpenElements {
public:
    // False when it must not go on.
    bool take(std::string_view tag) {
        if (tag.ends_with('/')) {
            return true;
        }
        const bool closes = tag.starts_with('/');
        const std::string_view name = tag.substr(closes ? 1 : 0, tag.find_first_of(" \t\r\n/", 1) - (closes ? 1 : 0));
        const std::size_t container = name == "dict" || name == "array" ? 1 : 0;
        if (!closes) {
            ++elements_;
            containers_ += container;
            return containers_ <= kDeepestPropertyList;
        }
        if (elements_ == 0) {
            return false;
        }
        --elements_;
        containers_ -= std::min(container, containers_);
        return true;
    }

    bool isEmpty() const { return elements_ == 0; }

private:
    std::size_t elements_ = 0;
    std::size_t containers_ = 0;
};

// The end of a tag or declaration; kNone when it has none or is not plain.
std::size_t behindPlain(std::string_view text, std::size_t at, std::string_view closing) {
    const std::size_t end = behind(text, at, closing);
    return end != kNone && isPlain(text.substr(at + 1, end - closing.size() - at - 1)) ? end : kNone;
}

// The end of anything in angle brackets that is no element; kNone when it is not allowed.
std::size_t behindDeclaration(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("<!--")) {
        return behind(text, at + 4, "-->");
    }
    if (rest.starts_with("<![CDATA[")) {
        return behind(text, at, "]]>");
    }
    if (rest.starts_with("<?")) {
        return behindPlain(text, at, "?>");
    }
    const std::size_t end = rest.starts_with("<!DOCTYPE") ? behindPlain(text, at, ">") : kNone;
    return end != kNone && text.substr(at, end - at).find('[') == kNone ? end : kNone;
}

} // namespace

bool isSafeXmlPropertyList(std::string_view text) {
    std::size_t at = text.find_first_not_of(kBlanks);
    if (at == kNone || text[at] != '<' || text.find('\0') != kNone || holdsNumberedNul(text)) {
        return false;
    }
    OpenElements open;
    while (at != kNone) {
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        const bool isElement = next != '!' && next != '?';
        const std::size_t end = isElement ? behindPlain(text, at, ">") : behindDeclaration(text, at);
        if (end == kNone || (isElement && !open.take(text.substr(at + 1, end - at - 2)))) {
            return false;
        }
        at = text.find('<', end);
    }
    return open.isEmpty();
}

} // namespace base
