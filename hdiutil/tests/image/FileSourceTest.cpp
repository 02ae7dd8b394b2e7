#include "hdiutil/image/FileSource.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace hdi::test {

TEST(FileSource, GivesBytesFromAnyPlace) {
    const TemporaryFolder folder;
    writeFile(folder / "a", bytesOf("0123456789"));
    const ByteSourcePtr file = openFile(folder / "a");
    Bytes middle(4);
    file->read(3, middle);
    EXPECT_EQ(file->size(), 10U);
    EXPECT_EQ(middle, bytesOf("3456"));
}

TEST(FileSource, RefusesReadsBeyondTheEnd) {
    const TemporaryFolder folder;
    writeFile(folder / "a", bytesOf("0123456789"));
    const ByteSourcePtr file = openFile(folder / "a");
    Bytes into(4);
    EXPECT_EQ(errorOf([&] { file->read(7, into); }), ImageError::Kind::kOutOfRange);
    EXPECT_EQ(errorOf([&] { file->read(UINT64_MAX, into); }), ImageError::Kind::kOutOfRange);
}

TEST(FileSource, ReportsAFileThatShrinksWhileItIsOpen) {
    const TemporaryFolder folder;
    writeFile(folder / "a", Bytes(100000));
    const ByteSourcePtr file = openFile(folder / "a");
    std::filesystem::resize_file(folder / "a", 50);
    Bytes into(100);
    EXPECT_EQ(errorOf([&] { file->read(0, into); }), ImageError::Kind::kIo);
    EXPECT_EQ(errorOf([&] { file->read(90000, into); }), ImageError::Kind::kIo);
}

TEST(FileSource, RefusesWhatIsNotAFile) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf([&] { openFile(folder / ""); }), ImageError::Kind::kIo);
    EXPECT_EQ(errorOf([&] { openFile(folder / "pipe"); }), ImageError::Kind::kIo);
    EXPECT_EQ(errorOf([&] { openFile(folder / "absent"); }), ImageError::Kind::kIo);
}

} // namespace hdi::test
