#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

namespace hdi {

// The bytes of a password, in one place of memory that is overwritten when it is done with. Never copied.
//
// Threads: one at a time.
class Password {
public:
    static constexpr std::size_t kMost = 1024; // bytes

    Password() = default;
    Password(const Password&) = delete;
    Password& operator=(const Password&) = delete;
    ~Password() { wipe(); }

    std::span<const std::byte> bytes() const { return {bytes_, size_}; }
    bool append(std::byte byte); // false when there is no room
    void removeLast();
    void wipe();

private:
    std::byte bytes_[kMost] = {};
    std::size_t size_ = 0;
};

using PasswordPtr = std::shared_ptr<Password>;

// Everything up to the end of a descriptor's input, or to its first NUL. One line end behind it does not belong to it,
// so that `echo` can give it. Null when it is longer than Password::kMost, or when reading fails; errno tells then
// (E2BIG for the first).
PasswordPtr readPassword(int descriptor);

// Overwrites what functions that have returned left on this thread's stack.
void wipeStack();

} // namespace hdi
