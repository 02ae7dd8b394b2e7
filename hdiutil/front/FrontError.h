#pragma once

#include <stdexcept>
#include <string>

namespace hdi {

inline constexpr int kStatusFailed = 1;
inline constexpr int kStatusUsage = 64; // EX_USAGE of sysexits
inline constexpr int kStatusBusy = 16;  // EBUSY, as macOS's tool answers

// A verb that cannot do its work. what() follows "hdiutil: " on standard error.
class FrontError : public std::runtime_error {
public:
    explicit FrontError(const std::string& message, int status = kStatusFailed)
        : std::runtime_error(message), status_(status) {}

    int status() const { return status_; }

private:
    int status_;
};

// An image that cannot be attached, for the reason given.
class AttachError : public FrontError {
public:
    explicit AttachError(const std::string& reason) : FrontError("attach failed - " + reason), reason_(reason) {}

    // For verbs that do a part of attaching, and fail under their own name.
    const std::string& reason() const { return reason_; }

private:
    std::string reason_;
};

// The kernel's reason in the wording that users of the tool know. Any thread.
std::string errorText(int error);

} // namespace hdi
