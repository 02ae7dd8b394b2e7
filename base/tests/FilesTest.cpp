#include "base/Descriptor.h"
#include "base/Files.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace base {
namespace {

class SmallFiles : public testing::Test {
protected:
    SmallFiles() {
        std::string name = testing::TempDir() + "base-files-XXXXXX";
        folder_ = ::mkdtemp(name.data());
    }
    ~SmallFiles() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    Descriptor create(const std::string& name) const {
        return Descriptor(::open(path(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    }

private:
    std::string folder_;
};

std::string textOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST_F(SmallFiles, ComeBackAsTheyWereWritten) {
    const std::string text = std::string("a\0b", 3) + std::string(100'000, 'x');
    EXPECT_TRUE(writeAll(create("file").get(), text));
    EXPECT_EQ(readSmallFile(path("file")), text);
}

TEST_F(SmallFiles, AreReadWhereTheKernelTellsNoSize) {
    EXPECT_TRUE(readSmallFile("/proc/self/stat").value().starts_with(std::to_string(::getpid()) + " ("));
}

TEST_F(SmallFiles, AreAbsentWhenTheyCannotBeReadOrAreNotSmall) {
    EXPECT_EQ(readSmallFile(path("missing")), std::nullopt);
    EXPECT_EQ(readSmallFile(path("")), std::nullopt);
    const Descriptor large = create("large");
    ASSERT_EQ(::ftruncate(large.get(), off_t{16} * 1024 * 1024), 0);
    EXPECT_EQ(readSmallFile(path("large")).value_or("").size(), std::size_t{16} * 1024 * 1024);
    ASSERT_EQ(::ftruncate(large.get(), off_t{16} * 1024 * 1024 + 1), 0);
    EXPECT_EQ(readSmallFile(path("large")), std::nullopt);
}

TEST_F(SmallFiles, DoNotWaitForSomebodyToWriteToAPipe) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readSmallFile(path("pipe")), "");
}

TEST_F(SmallFiles, AreWrittenAndReadAtAPlace) {
    const Descriptor file = create("file");
    EXPECT_TRUE(writeAllAt(file.get(), std::as_bytes(std::span(std::string_view("cde"))), 2));
    EXPECT_TRUE(writeAllAt(file.get(), std::as_bytes(std::span(std::string_view("ab"))), 0));
    std::array<std::byte, 4> read{};
    EXPECT_EQ(readAt(file.get(), read, 1), 4);
    EXPECT_EQ(textOf(read), "bcde");
    EXPECT_EQ(readAt(file.get(), read, 3), 2);
    EXPECT_EQ(readAt(file.get(), read, 9), 0);
    EXPECT_EQ(readAt(-1, read, 0), -1);
}

TEST_F(SmallFiles, TellWhenTheyCannotBeWritten) {
    const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(writeAll(full.get(), "x"));
    EXPECT_EQ(errno, ENOSPC);
}

// A pipe takes 64 KiB at once.
TEST(WriteAll, GoesOnWhereAPartWasTaken) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const std::string text(1'000'000, 'x');
    std::size_t received = 0;
    std::thread reader([&] {
        std::array<char, 4096> chunk{};
        for (ssize_t count = 1; count > 0; received += static_cast<std::size_t>(count)) {
            count = ::read(reading.get(), chunk.data(), chunk.size());
        }
    });
    EXPECT_TRUE(writeAll(writing.get(), text));
    writing.reset();
    reader.join();
    EXPECT_EQ(received, text.size());
}

} // namespace
} // namespace base
