#pragma once

#include <string>
#include <string_view>

namespace portal::eventlog {

// Text on its way to a descriptor, in big pieces. What is not flushed when it goes away is lost. Errors: LogError.
class Output {
public:
    // `name` is what an error calls it. Does not close the descriptor.
    Output(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}

    Output& operator<<(std::string_view text) {
        text_ += text;
        return *this;
    }
    Output& operator<<(char character) {
        text_ += character;
        return *this;
    }
    // For what appends to a string itself.
    std::string& text() { return text_; }

    // To be called between pieces, so that memory stays flat.
    void flushWhenFull() {
        if (text_.size() >= kFull) {
            flush();
        }
    }
    void flush();

private:
    static constexpr std::size_t kFull = 1U << 16U;

    int descriptor_;
    std::string name_;
    std::string text_;
};

} // namespace portal::eventlog
