#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The two ends of an entry of the event log, between which stands a message of any bytes:
//
//   { "time": "…","ci": "…", "trace": "…", "message":" MESSAGE", "lang": "…", … "line": "…" }      a plain entry
//   { "time": "…","ci": "…", "trace": "…", "message": OBJECT, "lang": "…", … "line": "…" }         an event
//
// Nothing in the message is escaped. Pure; views point into the text that was given.
namespace portal::eventlog {

struct Head {
    std::string_view time;
    std::string_view identifier;
    std::string_view level;
    bool isEvent = false;
    std::size_t size = 0; // up to the message
};

// What every head begins with.
inline constexpr std::string_view kHeadMark = "{ \"time\": \"";

// No head is longer; so much text behind a place is enough to tell whether one is there.
inline constexpr std::size_t kLongestHead = 512;

// The head that `text` begins with.
std::optional<Head> headOf(std::string_view text);

struct Field {
    std::string_view name;
    std::string_view value;
};

struct Tail {
    std::string text;          // from the comma before "lang" to the closing brace
    bool isBehindText = false; // a quote stands before it, as behind a plain entry's message
    std::vector<Field> fields; // views into `text`
};

// Finds the tail that a text ends with. Entries of one place in the program share their tails, so those met lately are
// recognised by their bytes alone. One thread.
class TailReader {
public:
    // nullptr when the text does not end with a tail. Valid until the next call.
    const Tail* read(std::string_view text);

private:
    static bool parse(std::string_view text, Tail& tail);

    std::array<Tail, 256> met_;
};

// What an entry without its end holds.
struct CutBody {
    std::string_view message;
    std::vector<Field> fields; // the last value may be a part
};

// Takes what follows a head apart, when its end is missing: what cannot be the beginning of a tail belongs to the
// message. A message that ends with a quote keeps it, since a tail may just not have begun.
CutBody cutBodyOf(std::string_view body, bool isEvent);

} // namespace portal::eventlog
