#include "tools/qn-portal/log/EntryReader.h"

#include "tools/qn-portal/log/LogError.h"

#include <algorithm>
#include <cstring>

namespace portal::eventlog {

namespace {

constexpr std::size_t kBlock = 1U << 18U;
constexpr std::size_t kLongestEntry = 16U << 20U;
constexpr std::size_t kMostNoise = 1U << 20U; // so much of anything else before the first entry is no log
constexpr std::size_t kNone = std::string_view::npos;

// The text in front of a line end, without it and a carriage return.
std::string_view withoutLineEnd(std::string_view line) {
    for (const char end : {'\n', '\r'}) {
        if (line.ends_with(end)) {
            line.remove_suffix(1);
        }
    }
    return line;
}

// The first place from `at` on where a head begins.
std::size_t findHead(std::string_view text, std::size_t at) {
    for (at = text.find(kHeadMark, at); at != kNone; at = text.find(kHeadMark, at + 1)) {
        if (headOf(text.substr(at))) {
            return at;
        }
    }
    return kNone;
}

// The first place behind a whole tail that begins at `at` or later.
std::size_t findBehindTail(std::string_view text, std::size_t at, TailReader& tails) {
    constexpr std::string_view kMark = ", \"lang\": \"";
    constexpr std::string_view kEnd = "\" }";
    for (at = text.find(kMark, at); at != kNone; at = text.find(kMark, at + 1)) {
        const std::size_t end = text.find(kEnd, at);
        if (end == kNone) {
            return kNone;
        }
        const Tail* const tail = tails.read(text.substr(at, end + kEnd.size() - at));
        if (tail != nullptr && tail->text.size() == end + kEnd.size() - at) {
            return end + kEnd.size();
        }
    }
    return kNone;
}

// An entry within a span: a head, and the place behind the tail that closes it, 0 when it was cut.
struct Bracket {
    std::size_t from;
    std::size_t to;
};

// Whether a head within an entry may be an entry of its own rather than text that somebody logged.
bool isCredible(const Head& inner, const Head& outer, std::string_view message) {
    return (inner.identifier == outer.identifier && inner.time >= outer.time) ||
           message.starts_with("Removing app cache from ");
}

// Whether what stands between the end of an entry and a head can be the rest of something else: whole lines, or an
// entry that was cut within its head.
bool isRestOfSomething(std::string_view between) {
    between.remove_prefix(std::min(between.find_first_not_of("\r\n"), between.size()));
    return between.empty() || between.ends_with('\n') || between.starts_with(kHeadMark.substr(0, 3)) ||
           between.find_first_not_of('\0') == kNone;
}

// Matches heads and tails like brackets, in one pass. A pair within an open bracket is text that somebody logged; so
// are tails that close nothing, which belong to the entry before.
class BracketMatcher {
public:
    BracketMatcher(std::string_view span, TailReader& tails) : span_(span), tails_(tails), outer_(*headOf(span)) {}

    std::vector<Bracket> match() {
        std::size_t head = findHead(span_, outer_.size);
        std::size_t behindTail = findBehindTail(span_, outer_.size, tails_);
        while (head != kNone || behindTail != kNone) {
            if (behindTail <= head) {
                closeBracket(behindTail);
                behindTail = findBehindTail(span_, behindTail, tails_);
            } else {
                const Head inner = *headOf(span_.substr(head));
                if (isCredible(inner, outer_, span_.substr(head + inner.size))) {
                    open(head);
                }
                head = findHead(span_, head + inner.size);
            }
        }
        return std::move(brackets_);
    }

private:
    void closeBracket(std::size_t behindTail) {
        const std::size_t closed = open_.empty() ? top_ : open_.back();
        brackets_[closed].to = behindTail;
        if (!open_.empty()) {
            open_.pop_back();
        }
    }

    void open(std::size_t head) {
        if (open_.empty()) {
            const std::size_t end = brackets_[top_].to;
            if (isRestOfSomething(span_.substr(end, head - end))) {
                top_ = brackets_.size();
            } else {
                brackets_[top_].to = 0; // that tail was text, too
                open_.push_back(top_);
            }
        }
        open_.push_back(brackets_.size());
        brackets_.push_back({head, 0});
    }

    std::string_view span_;
    TailReader& tails_;
    Head outer_;
    std::vector<Bracket> brackets_{{0, 0}};
    std::vector<std::size_t> open_{0};
    std::size_t top_ = 0; // the last bracket that lies in no other
};

} // namespace

std::span<char> EntryReader::room() {
    if (from_ > 0) {
        std::memmove(data_.data(), data_.data() + from_, to_ - from_);
        to_ -= from_;
        from_ = 0;
    }
    headPlace_ = kNone;
    if (to_ > kLongestEntry) {
        throw NoEventLog("holds an entry of more than 16 MiB, which no installer writes");
    }
    if (data_.size() < to_ + kBlock) {
        data_.resize(to_ + kBlock);
    }
    return {data_.data() + to_, kBlock};
}

void EntryReader::filled(std::size_t size) {
    to_ += size;
    process(Mode::kMore);
}

void EntryReader::pause() {
    process(Mode::kPaused);
}

void EntryReader::finish() {
    process(Mode::kLast);
    if (!rest().empty()) {
        throw NoEventLog("is no event log");
    }
}

void EntryReader::process(Mode mode) {
    while (from_ < to_ && (rest().starts_with(kHeadMark) ? takeEntry(mode) : takeForeign(mode))) {
    }
}

// False when more bytes are needed.
bool EntryReader::takeForeign(Mode mode) {
    const std::string_view text = rest();
    const bool isCut = text.starts_with(kHeadMark); // within its head
    const std::size_t head = findHead(text, 0);
    if (head == kNone && !hasEntry_ && !(isCut && mode == Mode::kLast)) {
        if (text.size() > kMostNoise) {
            throw NoEventLog("is no event log");
        }
        return false; // perhaps the first entry follows
    }
    std::size_t size = head;
    if (head == kNone) {
        // Whole lines at once; what has no line end yet may be the beginning of a head.
        const std::size_t line = text.rfind('\n');
        size = mode == Mode::kLast || text.size() > kBlock ? text.size() : line == kNone ? 0 : line + 1;
    }
    handForeign(text.substr(0, size), isCut);
    from_ += size;
    return size > 0;
}

// Begins with the mark of a head.
bool EntryReader::takeEntry(Mode mode) {
    const std::optional<Head> head = headAt(from_);
    if (!head) {
        return (mode == Mode::kLast || rest().size() >= kLongestHead) && takeForeign(mode);
    }
    const std::size_t size = endOfSpan(mode);
    if (size == kNone) {
        return false;
    }
    hasEntry_ = true;
    takeSpan(rest().substr(0, size), *head);
    from_ += size;
    return true;
}

// The size of the entry at the front with whatever is tangled with it: up to a line end behind a whole tail that
// is followed by a head, or by nothing. None when more bytes are needed to tell.
std::size_t EntryReader::endOfSpan(Mode mode) {
    const std::string_view text = rest();
    for (std::size_t at = text.find('\n', 0); at != kNone; at = text.find('\n', at + 1)) {
        const std::string_view line = withoutLineEnd(text.substr(0, at + 1));
        if (!line.ends_with("\" }")) {
            continue;
        }
        const std::string_view next = text.substr(at + 1);
        if (mode == Mode::kMore && next.size() < kLongestHead) {
            return kNone;
        }
        const bool isBoundary = next.empty() || headAt(from_ + at + 1).has_value();
        if (isBoundary && tails_.read(line) != nullptr) {
            return at + 1;
        }
    }
    return mode == Mode::kLast ? text.size() : kNone;
}

const std::optional<Head>& EntryReader::headAt(std::size_t place) {
    if (place != headPlace_) {
        head_ = headOf({data_.data() + place, to_ - place});
        headPlace_ = place;
    }
    return head_;
}

void EntryReader::takeSpan(std::string_view span, const Head& head) {
    const std::string_view line = withoutLineEnd(span);
    if (span.find(kHeadMark, head.size) == kNone && tails_.read(line) != nullptr) {
        hand(head, line);
    } else {
        takeTangled(span);
    }
}

void EntryReader::takeTangled(std::string_view span) {
    const std::vector<Bracket> brackets = BracketMatcher(span, tails_).match();
    std::size_t at = 0;
    for (std::size_t i = 0; i < brackets.size(); ++i) {
        const Bracket& bracket = brackets[i];
        if (bracket.from < at) {
            continue; // quoted in the message of the entry before
        }
        handBehind(span.substr(at, bracket.from - at));
        const Head head = *headOf(span.substr(bracket.from));
        const std::size_t next = i + 1 < brackets.size() ? brackets[i + 1].from : span.size();
        at = bracket.to == 0 ? next : bracket.to;
        if (bracket.to == 0) {
            handCut(head, span.substr(bracket.from, at - bracket.from));
        } else {
            hand(head, span.substr(bracket.from, at - bracket.from));
        }
    }
    handBehind(span.substr(at));
}

// `entry` ends with its tail.
void EntryReader::hand(const Head& head, std::string_view entry) {
    const Tail& tail = *tails_.read(entry);
    std::string_view message = entry.substr(head.size, entry.size() - head.size - tail.text.size());
    if (!head.isEvent && tail.isBehindText && !message.empty()) {
        message.remove_suffix(1); // the quote
    }
    const auto kind = head.isEvent ? Entry::Kind::kEvent : Entry::Kind::kPlain;
    receiver_({kind, false, head.time, head.identifier, head.level, message, tail.fields});
}

void EntryReader::handCut(const Head& head, std::string_view entry) {
    const auto kind = head.isEvent ? Entry::Kind::kEvent : Entry::Kind::kPlain;
    const CutBody body = cutBodyOf(entry.substr(head.size), head.isEvent);
    receiver_({kind, true, head.time, head.identifier, head.level, body.message, body.fields});
}

void EntryReader::handForeign(std::string_view text, bool isCut) {
    text = withoutLineEnd(text);
    if (!text.empty()) {
        receiver_({Entry::Kind::kForeign, isCut, {}, {}, {}, text, {}});
    }
}

// What stands behind an entry: its line end, and perhaps the first bytes of an entry that was cut within its head.
void EntryReader::handBehind(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
    handForeign(text, text.starts_with(kHeadMark.substr(0, text.size())));
}

} // namespace portal::eventlog
