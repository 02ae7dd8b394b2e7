#include "tools/qn-portal/log/Printer.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace portal::eventlog {

namespace {

// Blanks up to the column of the messages.
constexpr std::string_view kIndent = "                  ";

bool isControl(char character) {
    return static_cast<unsigned char>(character) < 0x20U || character == 0x7F;
}

// A line end goes on below; any other control character is named, since a log must not steer a terminal.
void appendShown(std::string& text, std::string_view message) {
    if (std::ranges::none_of(message, isControl)) {
        text += message;
        return;
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (const char character : message) {
        if (character == '\n') {
            (text += '\n') += kIndent;
        } else if (isControl(character) && character != '\r') {
            const auto value = static_cast<unsigned char>(character);
            ((text += "\\x") += kDigits[value >> 4U]) += kDigits[value & 0xFU];
        } else if (character != '\r') {
            text += character;
        }
    }
}

// "   +12 s  DEBUG  "
void appendColumns(std::string& text, std::int64_t seconds, std::string_view level) {
    std::array<char, 24> digits{};
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), seconds).ptr;
    const auto size = static_cast<std::size_t>(end - digits.data());
    text.append(size < 7 ? 7 - size : 1, ' ').append(digits.data(), size) += " s  ";
    text.append(level).append(level.size() < 7 ? 7 - level.size() : 1, ' ');
}

class TextPrinter : public Printer {
public:
    explicit TextPrinter(Output& output) : output_(output) {}

    void beginRun(std::int64_t number, const Entry& first) override {
        output_ << "Run " << std::to_string(number) << "  " << first.time << '\n';
    }

    void entry(std::int64_t, const Entry& entry, const RunStory& story) override {
        std::string& text = output_.text();
        const bool isForeign = entry.kind == Entry::Kind::kForeign;
        appendColumns(text, story.seconds(), isForeign ? "?" : entry.level);
        if (entry.kind == Entry::Kind::kEvent) {
            appendShown(text, eventWords(entry.message));
        } else {
            appendShown(text, entry.message);
        }
        text += entry.isCut ? " [cut]\n" : "\n";
        output_.flushWhenFull();
    }

    void endRun(const RunStory& story) override {
        output_ << "  => ";
        appendShown(output_.text(), verdict(story));
        output_ << "\n\n";
    }

private:
    Output& output_;
};

} // namespace

std::unique_ptr<Printer> textPrinter(Output& output) {
    return std::make_unique<TextPrinter>(output);
}

} // namespace portal::eventlog
