#pragma once

#include <functional>
#include <string>
#include <string_view>

// How servers store what was posted to them.
namespace portal::report {

// Calls `take` with each line of a text, without its line end; CR, LF and both together end a line. No empty lines.
template <typename Take>
void forEachLine(std::string_view text, const Take& take) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        if (end > 0) {
            take(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// The body in a stored line that is no analytics line itself: a JSON object with the body as one of its texts (nginx
// with escape=json), or any text around a body, plain (escape=none) or with \xHH (nginx without `escape`). The body
// begins with the time of its first line; what follows it on its last line may stay there. Empty when the line
// holds no body.
std::string bodyIn(std::string_view storedLine);

} // namespace portal::report
