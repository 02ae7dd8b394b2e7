#include "hdiutil/image/RichText.h"

#include "hdiutil/image/MacRoman.h"
#include "hdiutil/image/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace hdi {

namespace {

constexpr std::size_t kMaxDepth = 256;

// Windows code page 1252 from 0x80 to 0x9f; the rest is Latin 1.
constexpr std::array<char16_t, 32> kWindows = {
    0x20ac, 0xfffd, 0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, 0x02c6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xfffd, 0x017d, 0xfffd, 0xfffd, 0x2018, 0x2019, 0x201c, 0x201d, 0x2022,
    0x2013, 0x2014, 0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0xfffd, 0x017e, 0x0178,
};

struct Symbol {
    std::string_view word;
    char16_t character;
};

constexpr Symbol kSymbols[] = {{"par", u'\n'},     {"line", u'\n'},    {"sect", u'\n'},       {"page", u'\n'},
                               {"tab", u'\t'},     {"emdash", 0x2014}, {"endash", 0x2013},    {"bullet", 0x2022},
                               {"lquote", 0x2018}, {"rquote", 0x2019}, {"ldblquote", 0x201c}, {"rdblquote", 0x201d}};

// Groups that are not text.
constexpr std::string_view kHidden[] = {"fonttbl", "colortbl", "stylesheet",       "info",   "pict",
                                        "header",  "footer",   "expandedcolortbl", "object", "listtable",
                                        "filetbl", "footnote", "listoverridetable"};

struct Group {
    bool hidden = false;
    int substitutes = 1; // characters behind one that is given by its number
};

class Reader {
public:
    explicit Reader(std::string_view document) : rest_(document) { groups_.push_back({}); }

    std::string read() {
        while (!rest_.empty() && groups_.size() <= kMaxDepth) {
            step(next());
        }
        return std::move(text_);
    }

private:
    char next() {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }

    void step(char c) {
        if (c == '{') {
            groups_.push_back(groups_.back());
        } else if (c == '}') {
            if (groups_.size() > 1) {
                groups_.pop_back();
            }
        } else if (c == '\\') {
            control();
        } else if (c != '\r' && c != '\n') {
            character(static_cast<std::byte>(c));
        }
    }

    void control() {
        if (rest_.empty()) {
            return;
        }
        if (rest_.front() >= 'a' && rest_.front() <= 'z') {
            word();
            return;
        }
        const char c = next();
        if (c == '\'') {
            hexadecimal();
        } else if (c == '*') {
            groups_.back().hidden = true;
        } else if (c == '~') {
            put(0xa0);
        } else if (c == '\n' || c == '\r') {
            put('\n');
        } else if (c == '\\' || c == '{' || c == '}') {
            put(static_cast<unsigned char>(c));
        }
    }

    void word() {
        const auto isLetter = [](char c) { return c >= 'a' && c <= 'z'; };
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), isLetter);
        const std::string_view name = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(name.size());
        int number = 0;
        const auto parsed = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
        rest_.remove_prefix(static_cast<std::size_t>(parsed.ptr - rest_.data()));
        if (!rest_.empty() && rest_.front() == ' ') {
            rest_.remove_prefix(1);
        }
        apply(name, number);
    }

    void apply(std::string_view name, int number) {
        const auto symbol = std::find_if(std::begin(kSymbols), std::end(kSymbols),
                                         [name](const Symbol& candidate) { return candidate.word == name; });
        if (symbol != std::end(kSymbols)) {
            put(symbol->character);
        } else if (std::find(std::begin(kHidden), std::end(kHidden), name) != std::end(kHidden)) {
            groups_.back().hidden = true;
        } else if (name == "mac") {
            macRoman_ = true;
        } else if (name == "uc") {
            groups_.back().substitutes = std::clamp(number, 0, 16);
        } else if (name == "u") {
            // Numbers above 32767 are written as negative ones.
            put(static_cast<char32_t>(number < 0 ? number + 65536 : number));
            toSkip_ = groups_.back().substitutes;
        }
    }

    void hexadecimal() {
        unsigned code = 0;
        const std::string_view digits = rest_.substr(0, 2);
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
        rest_.remove_prefix(static_cast<std::size_t>(parsed.ptr - digits.data()));
        if (parsed.ptr == digits.data() + 2) {
            character(static_cast<std::byte>(code));
        }
    }

    // One in the document's own encoding.
    void character(std::byte c) {
        if (toSkip_ > 0) {
            --toSkip_;
            return;
        }
        const auto code = std::to_integer<unsigned>(c);
        if (macRoman_ && code >= 0x80) {
            text_ += groups_.back().hidden ? "" : utf8FromMacRoman(c);
        } else {
            put(code >= 0x80 && code < 0xa0 ? kWindows.at(code - 0x80) : code);
        }
    }

    void put(char32_t code) {
        const bool shown = code >= 0x20 ? code != 0x7f : code == '\n' || code == '\t';
        if (shown && !groups_.back().hidden) {
            appendUtf8(text_, code);
        }
    }

    std::string_view rest_;
    std::string text_;
    std::vector<Group> groups_;
    int toSkip_ = 0;
    bool macRoman_ = false;
};

} // namespace

std::string utf8FromRichText(std::span<const std::byte> document) {
    return Reader({reinterpret_cast<const char*>(document.data()), document.size()}).read();
}

} // namespace hdi
