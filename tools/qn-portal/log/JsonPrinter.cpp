#include "tools/qn-portal/log/Printer.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace portal::eventlog {

namespace {

using Json = nlohmann::json;

bool isPlain(char character) {
    return character >= ' ' && character < 0x7F && character != '"' && character != '\\';
}

// Bytes that are no UTF-8 become U+FFFD.
void appendText(std::string& json, std::string_view text) {
    if (std::ranges::all_of(text, isPlain)) {
        ((json += '"') += text) += '"';
    } else {
        json += Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    }
}

class JsonPrinter : public Printer {
public:
    explicit JsonPrinter(Output& output) : output_(output) {}

    void beginRun(std::int64_t, const Entry&) override {}

    void entry(std::int64_t run, const Entry& entry, const RunStory&) override {
        std::string& json = output_.text();
        const bool isForeign = entry.kind == Entry::Kind::kForeign;
        json += R"({"time":)";
        appendOrNull(json, entry.time, isForeign);
        json += R"(,"level":)";
        appendOrNull(json, entry.level, isForeign);
        json += R"(,"message":)";
        appendText(json, entry.message);
        if (entry.kind == Entry::Kind::kEvent) {
            appendEvent(json, entry.message);
        }
        (json += R"(,"run":)") += std::to_string(run);
        if (!isForeign) {
            json += R"(,"ci":)";
            appendText(json, entry.identifier);
        }
        for (const Field& field : entry.fields) {
            ((json += ",\"") += field.name) += "\":"; // letters alone
            appendText(json, field.value);
        }
        json += entry.isCut ? ",\"cut\":true}\n" : "}\n";
        output_.flushWhenFull();
    }

    void endRun(const RunStory&) override {}

private:
    static void appendOrNull(std::string& json, std::string_view text, bool isMissing) {
        if (isMissing) {
            json += "null";
        } else {
            appendText(json, text);
        }
    }

    // Masking can have broken it: a login name "1" is in many numbers.
    static void appendEvent(std::string& json, std::string_view event) {
        const Json parsed = Json::parse(event, nullptr, false);
        if (!parsed.is_discarded()) {
            (json += R"(,"event":)") += parsed.dump();
        }
    }

    Output& output_;
};

} // namespace

std::unique_ptr<Printer> jsonPrinter(Output& output) {
    return std::make_unique<JsonPrinter>(output);
}

} // namespace portal::eventlog
