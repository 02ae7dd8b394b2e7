#include "tools/qn-portal/log/Printer.h"

#include <nlohmann/json.hpp>

#include <array>

namespace portal::eventlog {

namespace {

using Json = nlohmann::json;

enum class Form : unsigned char { kPlain, kEscaped, kBeyondAscii };

constexpr std::array<Form, 256> kForms = [] {
    std::array<Form, 256> forms{};
    for (std::size_t value = 0; value < forms.size(); ++value) {
        const bool isPlain = value >= 0x20 && value < 0x7F && value != '"' && value != '\\';
        forms[value] = isPlain ? Form::kPlain : value < 0x80 ? Form::kEscaped : Form::kBeyondAscii;
    }
    return forms;
}();

Form formOf(char character) {
    return kForms[static_cast<unsigned char>(character)];
}

void appendEscaped(std::string& json, char character) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    if (character == '"' || character == '\\') {
        (json += '\\') += character;
    } else {
        const auto value = static_cast<unsigned char>(character);
        ((json += "\\u00") += kDigits[value >> 4U]) += kDigits[value & 0xFU];
    }
}

// Bytes that are no UTF-8 become U+FFFD.
void appendText(std::string& json, std::string_view text) {
    const std::size_t before = json.size();
    json += '"';
    std::size_t from = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const Form form = formOf(text[at]);
        if (form == Form::kBeyondAscii) {
            json.resize(before);
            json += Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
            return;
        }
        if (form == Form::kEscaped) {
            json += text.substr(from, at - from);
            appendEscaped(json, text[at]);
            from = at + 1;
        }
    }
    (json += text.substr(from)) += '"';
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
        if (Json::accept(event)) {
            const bool isOneLine = event.find_first_of("\r\n") == std::string_view::npos;
            (json += R"(,"event":)") += isOneLine ? std::string(event) : Json::parse(event).dump();
        }
    }

    Output& output_;
};

} // namespace

std::unique_ptr<Printer> jsonPrinter(Output& output) {
    return std::make_unique<JsonPrinter>(output);
}

} // namespace portal::eventlog
