#pragma once

#include "tools/qn-portal/log/EntryLine.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace portal::eventlog {

// One entry as it was written. All views are valid while the receiver runs.
struct Entry {
    enum class Kind { kPlain, kEvent, kForeign };
    Kind kind = Kind::kPlain;
    bool isCut = false;          // its end, or for a foreign one its beginning, is missing
    std::string_view time;       // empty when it is missing
    std::string_view identifier; // likewise
    std::string_view level;
    std::string_view message; // exactly what was logged; for an event its JSON text
    std::span<const Field> fields;
};

// Cuts the bytes of an event log into entries. Memory does not grow with the file: a single entry may have 16 MiB.
//
// An entry ends where the fixed end of a line is followed by the fixed beginning of the next one, so that messages may
// hold quotes, line ends, and pieces of such lines or whole ones. Where a beginning comes before the end of the entry
// before it, that entry was cut (a full disk, a lost power supply), provided that the beginning is credible there: the
// same identifier and no earlier time, or a program's first message. Text that belongs to no entry is handed over as
// foreign. Only a message that holds the end and the beginning of a line next to each other cannot be told from two
// entries.
//
// One thread.
class EntryReader {
public:
    using Receiver = std::function<void(const Entry&)>;

    explicit EntryReader(Receiver receiver) : receiver_(std::move(receiver)) {}

    // Where the next bytes of the log go, and that so many are there. Throws NoEventLog when this is no event log, or
    // an entry is too long.
    std::span<char> room();
    void filled(std::size_t size);

    // No further bytes for the moment: an entry that looks whole is handed over.
    void pause();

    // No further bytes at all. Throws NoEventLog when there were bytes but no entry.
    void finish();

private:
    enum class Mode { kMore, kPaused, kLast };
    static constexpr std::size_t kNone = std::string_view::npos;

    void process(Mode mode);
    bool takeForeign(Mode mode);
    bool takeEntry(Mode mode);
    std::size_t endOfSpan(Mode mode);
    void takeSpan(std::string_view span, const Head& head);
    const std::optional<Head>& headAt(std::size_t place);
    void takeTangled(std::string_view span);
    void hand(const Head& head, std::string_view entry);
    void handCut(const Head& head, std::string_view entry);
    void handForeign(std::string_view text, bool isCut);
    void handBehind(std::string_view text);
    std::string_view rest() const { return {data_.data() + from_, to_ - from_}; }

    Receiver receiver_;
    TailReader tails_;
    std::vector<char> data_;
    std::size_t from_ = 0;
    std::size_t to_ = 0;
    bool hasEntry_ = false;

    // The head looked for last, and where in `data_`: the end of one entry is told by the head of the next.
    std::optional<Head> head_;
    std::size_t headPlace_ = kNone;
};

} // namespace portal::eventlog
