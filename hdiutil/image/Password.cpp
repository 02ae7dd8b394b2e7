#include "hdiutil/image/Password.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace hdi {

bool Password::append(std::byte byte) {
    if (size_ == kMost) {
        return false;
    }
    bytes_[size_++] = byte;
    return true;
}

void Password::removeLast() {
    if (size_ > 0) {
        bytes_[--size_] = std::byte{0};
    }
}

void Password::wipe() {
    explicit_bzero(bytes_, sizeof bytes_);
    size_ = 0;
}

namespace {

void dropLineEnd(Password& password) {
    for (const char end : {'\n', '\r'}) {
        if (!password.bytes().empty() && password.bytes().back() == static_cast<std::byte>(end)) {
            password.removeLast();
        } else {
            return;
        }
    }
}

} // namespace

PasswordPtr readPassword(int descriptor) {
    auto password = std::make_shared<Password>();
    std::byte byte{};
    for (;;) { // byte by byte: no buffer keeps a second copy
        const ssize_t count = ::read(descriptor, &byte, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return nullptr;
        }
        if (count == 0 || byte == std::byte{0}) {
            dropLineEnd(*password);
            return password;
        }
        if (!password->append(byte)) {
            errno = E2BIG;
            return nullptr;
        }
    }
}

[[gnu::noinline]] void wipeStack() {
    std::byte left[16384]; // more than any function of libnettle takes
    explicit_bzero(left, sizeof left);
}

} // namespace hdi
