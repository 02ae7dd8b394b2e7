#pragma once

#include <stdexcept>

namespace portal::report {

// Why analytics cannot be read or kept: one sentence for the user, without the program's name.
class ReportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The user asked the program to end while it worked.
class Interrupted : public ReportError {
public:
    using ReportError::ReportError;
};

} // namespace portal::report
