#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace portal::eventlog {

// Text on its way to somewhere, in big pieces. What is not flushed when it goes away is lost.
class Output {
public:
    using Write = std::function<void(std::string_view)>;
    explicit Output(Write write) : write_(std::move(write)) {}

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
    void flush() {
        write_(text_);
        text_.clear();
    }

private:
    static constexpr std::size_t kFull = 1U << 16U;

    Write write_;
    std::string text_;
};

} // namespace portal::eventlog
