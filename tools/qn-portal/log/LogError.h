#pragma once

#include <stdexcept>

namespace portal::eventlog {

// Why an event log cannot be read or what was made of it not written: one sentence for the user, without the program's
// name.
class LogError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The bytes are none: what is wrong with them, to stand behind the file's name.
class NoEventLog : public LogError {
public:
    using LogError::LogError;
};

} // namespace portal::eventlog
