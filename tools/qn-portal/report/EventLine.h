#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The analytics lines that the installer posts: "<time> ci=<identifier> <JSON object>".
namespace portal::report {

// One event. The views point into the line or into `storage`.
struct Event {
    std::int64_t time = 0; // seconds since 1970
    std::string_view identifier;
    std::string_view name; // "EVT"
    std::string_view product, version, country, language, system, systemVersion, processor;
    std::string_view result; // "RSLT": "PASS", "FAIL" or empty
    std::string_view reason; // "RSN"
    std::optional<double> seconds;
};

// Takes lines apart. Keeps memory between lines, so that a line costs no allocation.
class EventReader {
public:
    // nullptr when this is no such line: a time, an identifier, and an object with an "EVT" that is text. The event is
    // valid until the next call, and as long as `line` is.
    const Event* read(std::string_view line);

private:
    bool readObject(std::string_view json);
    void take(std::string_view key, std::string_view token);
    std::string_view textOf(std::string_view token);

    Event event_;
    std::string unescaped_; // of all texts of one line, in turn
};

} // namespace portal::report
