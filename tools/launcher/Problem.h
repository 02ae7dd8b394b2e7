#pragma once

#include <stdexcept>

namespace launcher {

// Why the program cannot be started, in one sentence for the console.
class Problem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace launcher
