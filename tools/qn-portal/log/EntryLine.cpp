#include "tools/qn-portal/log/EntryLine.h"

#include <algorithm>
#include <cstring>

namespace portal::eventlog {

namespace {

constexpr std::size_t kLongestTime = 40;
constexpr std::size_t kLongestIdentifier = 100;
constexpr std::size_t kLongestLevel = 20;
constexpr std::size_t kLongestTail = 4096;

// Reads a head from its front.
class HeadCursor {
public:
    explicit HeadCursor(std::string_view text) : text_(text) {}

    bool takes(std::string_view literal) {
        if (text_.substr(at_, literal.size()) != literal) {
            return false;
        }
        at_ += literal.size();
        return true;
    }

    // A value up to its closing quote, which is taken too.
    bool takes(std::string_view& value, std::size_t longest) {
        const std::string_view rest = text_.substr(at_, longest + 1);
        const void* const quote = std::memchr(rest.data(), '"', rest.size());
        if (quote == nullptr) {
            return false;
        }
        value = rest.substr(0, static_cast<std::size_t>(static_cast<const char*>(quote) - rest.data()));
        at_ += value.size() + 1;
        return true;
    }

    std::size_t at() const { return at_; }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

// A comma, a key and its value. A version may leave the key out, or put a blank elsewhere.
bool takesValue(HeadCursor& cursor, std::string_view key, std::string_view& value, std::size_t longest) {
    const HeadCursor before = cursor;
    const bool hasComma = cursor.takes(",");
    cursor.takes(" ");
    if (hasComma && cursor.takes(key)) {
        return cursor.takes(value, longest);
    }
    cursor = before;
    return true;
}

std::size_t lastQuote(std::string_view text) {
    return text.rfind('"');
}

bool isName(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_';
    });
}

// Reads a tail from its front, as far as it goes.
class CutTail {
public:
    explicit CutTail(std::string_view text) : text_(text) {}

    // False when the text is no beginning of a tail.
    bool read(std::vector<Field>& fields) {
        while (!text_.empty() && text_ != " }" && text_ != " ") {
            Field field;
            if (!takesLiteral(", \"") || !takesUntilQuote(field.name) || !isNameOrCut(field.name) ||
                !takesLiteral(": \"") || !takesUntilQuote(field.value)) {
                return false;
            }
            if (!field.value.empty() || !text_.empty()) {
                fields.push_back(field);
            }
        }
        return true;
    }

private:
    bool takesLiteral(std::string_view literal) {
        const std::size_t size = std::min(literal.size(), text_.size());
        const bool isThere = text_.substr(0, size) == literal.substr(0, size);
        text_.remove_prefix(isThere ? size : 0);
        return isThere;
    }

    bool takesUntilQuote(std::string_view& value) {
        value = text_.substr(0, text_.find_first_of("\"\r\n"));
        text_.remove_prefix(value.size());
        const bool isClosed = text_.starts_with('"');
        text_.remove_prefix(isClosed ? 1 : 0);
        return isClosed || text_.empty();
    }

    bool isNameOrCut(std::string_view name) const { return isName(name) || (name.empty() && text_.empty()); }

    std::string_view text_;
};

} // namespace

CutBody cutBodyOf(std::string_view body, bool isEvent) {
    std::string_view line = body;
    for (const char end : {'\n', '\r'}) {
        line.remove_suffix(line.ends_with(end) ? 1 : 0);
    }
    const std::string_view mark = isEvent ? ", \"lang\": \"" : "\", \"lang\": \"";
    std::size_t at = line.rfind(mark);
    for (std::size_t size = mark.size() - 1; at == std::string_view::npos && size >= 2; --size) {
        at = line.ends_with(mark.substr(0, size)) ? line.size() - size : at;
    }
    CutBody result{body, {}};
    if (at != std::string_view::npos && CutTail(line.substr(isEvent ? at : at + 1)).read(result.fields)) {
        result.message = body.substr(0, at);
    } else {
        result.fields.clear();
    }
    return result;
}

std::optional<Head> headOf(std::string_view text) {
    Head head;
    HeadCursor cursor(text);
    if (!cursor.takes(kHeadMark) || !cursor.takes(head.time, kLongestTime) ||
        !takesValue(cursor, "\"ci\": \"", head.identifier, kLongestIdentifier) ||
        !takesValue(cursor, "\"trace\": \"", head.level, kLongestLevel) || !cursor.takes(",")) {
        return std::nullopt;
    }
    cursor.takes(" ");
    if (!cursor.takes("\"message\":")) {
        return std::nullopt;
    }
    head.isEvent = !cursor.takes("\" ") && !cursor.takes("\"");
    if (head.isEvent && !cursor.takes(" ")) {
        return std::nullopt;
    }
    head.size = cursor.at();
    return head;
}

const Tail* TailReader::read(std::string_view text) {
    constexpr std::string_view kEnd = "\" }";
    if (!text.ends_with(kEnd)) {
        return nullptr;
    }
    // The last characters hold the line number, which tells most places apart.
    std::size_t slot = 0;
    for (const char character : text.substr(text.size() - std::min<std::size_t>(text.size(), 8), 6)) {
        slot = slot * 31 + static_cast<unsigned char>(character);
    }
    Tail& tail = met_[slot % met_.size()];
    if (!tail.text.empty() && text.ends_with(tail.text)) {
        const std::size_t before = text.size() - tail.text.size();
        tail.isBehindText = before > 0 && text[before - 1] == '"';
        return &tail;
    }
    return parse(text, tail) ? &tail : nullptr;
}

// From the back: a value without quotes, its name, the one before it, until the name is "lang".
bool TailReader::parse(std::string_view text, Tail& tail) {
    std::vector<std::pair<std::size_t, std::size_t>> names; // place and size
    std::vector<std::pair<std::size_t, std::size_t>> values;
    const std::size_t limit = text.size() - std::min(text.size(), kLongestTail);
    std::size_t end = text.size() - 3; // the closing quote of the last value
    for (;;) {
        const std::size_t open = lastQuote(text.substr(0, end));
        if (open == std::string_view::npos || open < limit + 8 || text.substr(open - 3, 3) != "\": ") {
            return false;
        }
        const std::size_t nameAt = lastQuote(text.substr(0, open - 3)) + 1; // 0 when there is none
        const std::string_view name = text.substr(nameAt, open - 3 - nameAt);
        if (nameAt < 3 || text.substr(nameAt - 3, 2) != ", " || !isName(name) ||
            text.substr(open, end - open).find_first_of("\r\n") != std::string_view::npos) {
            return false;
        }
        names.emplace_back(nameAt, name.size());
        values.emplace_back(open + 1, end - open - 1);
        if (name == "lang") {
            break;
        }
        end = nameAt - 4; // over `", "`, onto the closing quote of the value before
        if (nameAt < 4 || text[end] != '"') {
            return false;
        }
    }
    const std::size_t from = names.back().first - 3;
    tail.text = text.substr(from);
    tail.isBehindText = from > 0 && text[from - 1] == '"';
    tail.fields.clear();
    for (std::size_t i = names.size(); i-- > 0;) {
        const std::string_view own = tail.text;
        tail.fields.push_back(
            {own.substr(names[i].first - from, names[i].second), own.substr(values[i].first - from, values[i].second)});
    }
    return true;
}

} // namespace portal::eventlog
