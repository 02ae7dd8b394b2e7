#include "base/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <cerrno>

namespace base {
namespace {

int openNull() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpen(int descriptor) {
    return ::fcntl(descriptor, F_GETFD) >= 0;
}

TEST(Descriptor, ClosesWhatItOwns) {
    const int number = openNull();
    {
        const Descriptor owner(number);
        EXPECT_TRUE(owner);
        EXPECT_TRUE(isOpen(number));
    }
    EXPECT_FALSE(isOpen(number));
}

TEST(Descriptor, HandsOnWhenMoved) {
    Descriptor first(openNull());
    const int number = first.get();
    Descriptor second(std::move(first));
    EXPECT_EQ(second.get(), number);
    Descriptor third(openNull());
    const int replaced = third.get();
    third = std::move(second);
    EXPECT_FALSE(isOpen(replaced));
    EXPECT_EQ(third.release(), number);
    EXPECT_TRUE(isOpen(number));
    ::close(number);
}

TEST(Descriptor, TellsWhetherClosingWorked) {
    Descriptor owner(openNull());
    EXPECT_TRUE(owner.close());
    EXPECT_FALSE(owner);
    EXPECT_TRUE(owner.close());
    const int number = openNull();
    Descriptor gone(number);
    ::close(number);
    EXPECT_FALSE(gone.close());
    EXPECT_EQ(errno, EBADF);
}

} // namespace
} // namespace base
