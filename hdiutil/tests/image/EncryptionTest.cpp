#include "hdiutil/create/ImageOutput.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/EncryptedSource.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/Password.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

namespace hdi::test {

namespace {

PasswordPtr passwordOf(std::string_view text) {
    auto password = std::make_shared<Password>();
    for (const std::byte byte : bytesOf(text)) {
        EXPECT_TRUE(password->append(byte));
    }
    return password;
}

std::unique_ptr<DiskImage> opened(const ByteSourcePtr& file, std::string_view text) {
    const PasswordPtr password = passwordOf(text);
    ReadOptions options;
    options.password = password.get();
    return openDiskImage(file, options);
}

std::string realImage(const std::string& name) {
    return std::string(TEST_IMAGES) + "/" + name;
}

// `inside` encrypted with keys that one round of key derivation opens, so that thousands of variants take no time.
Bytes quicklyEncrypted(const Bytes& inside, std::uint32_t aesBits) {
    TemporaryFolder folder;
    const auto output = newImageOutput(folder / "image", {aesBits, passwordOf("slow")});
    output->append(inside);
    output->commit();
    Bytes file = readFile(folder / "image");
    EncryptionHeader header = readEncryptionHeader(*inMemory(file));
    const ImageKeys keys = unlockKeys(header, passwordOf("slow")->bytes());
    EncryptionHeader::WrappedKeys& wrapped = header.passwords.front();
    Bytes slots(wrapped.keys.size(), std::byte{7});
    std::memcpy(slots.data(), keys.aes, keys.aesBytes);
    std::memcpy(slots.data() + keys.aesBytes, keys.hmac, sizeof keys.hmac);
    std::memcpy(slots.data() + keys.aesBytes + sizeof keys.hmac, "CKIE", 5);
    wrapped.iterations = 1;
    std::array<std::byte, Cryptography::kWrapKey> key{};
    cryptography().deriveKey(passwordOf("quick")->bytes(), wrapped.salt, 1, key);
    cryptography().wrap(key, wrapped.vector, slots);
    wrapped.keys = slots;
    const Bytes head = encryptionHeaderBytes(header);
    std::copy(head.begin(), head.end(), file.begin());
    return file;
}

// A raw disk, as its last two bytes of the first sector say, that ends in the middle of a block.
Bytes smallDisk() {
    Bytes disk = prose(5000, 3);
    disk[510] = std::byte{0x55};
    disk[511] = std::byte{0xaa};
    return disk;
}

} // namespace

TEST(Encryption, OpensImagesOfMacOsWithTheirPasswords) {
    const auto small = opened(openFile(realImage("encrypted.dmg")), "test123");
    EXPECT_EQ(small->facts().format, "UDZO");
    EXPECT_EQ(small->facts().fileBytes, 136192U);
    EXPECT_TRUE(small->facts().isEncrypted);
    EXPECT_TRUE(small->verifyDataFork());
    small->verifyTables(nullptr);
    const auto application = opened(openFile(realImage("apfs-gpt-lzfse-app-encrypted.dmg")), "testpass");
    EXPECT_EQ(application->facts().format, "ULFO");
    EXPECT_TRUE(application->verifyDataFork());
    application->verifyTables(nullptr);
}

TEST(Encryption, TellsAWrongPasswordFromADamagedImage) {
    const ByteSourcePtr file = openFile(realImage("encrypted.dmg"));
    for (const char* const wrong : {"", "test12", "test1234", "Test123", "test123\n"}) {
        EXPECT_EQ(errorOf([&] { opened(file, wrong); }), ImageError::Kind::kWrongPassword) << wrong;
    }
    EXPECT_EQ(errorOf([&] { openDiskImage(file); }), ImageError::Kind::kEncrypted);
}

TEST(Encryption, GivesBackWhatWasEncryptedAtEveryPlaceAndLength) {
    for (const std::uint32_t bits : {128U, 256U}) {
        const Bytes disk = smallDisk();
        const ByteSourcePtr inside = opened(inMemory(quicklyEncrypted(disk, bits)), "quick")->disk();
        ASSERT_EQ(readAll(*inside), disk);
        for (std::size_t offset = 0; offset < disk.size(); offset += 97) {
            for (std::size_t length : {1U, 15U, 511U, 512U, 513U, 1024U, 1700U}) {
                length = std::min(length, disk.size() - offset);
                Bytes part(length);
                inside->read(offset, part);
                ASSERT_TRUE(std::equal(part.begin(), part.end(), disk.begin() + static_cast<std::ptrdiff_t>(offset)))
                    << offset << " " << length;
            }
        }
    }
}

TEST(Encryption, LeavesNothingOfTheContentsInTheFile) {
    const Bytes file = quicklyEncrypted(Bytes(100 * 512, std::byte{'x'}), 256);
    EXPECT_EQ(std::search_n(file.begin(), file.end(), 8, std::byte{'x'}), file.end());
    // Nor does it show that blocks are equal.
    const auto block = [&file](std::size_t number) {
        return Bytes(file.begin() + static_cast<std::ptrdiff_t>(122368 + number * 512),
                     file.begin() + static_cast<std::ptrdiff_t>(122368 + (number + 1) * 512));
    };
    EXPECT_NE(block(0), block(1));
}

// Cut anywhere, and with every byte of the header changed to several values: an error, or the same bytes.
TEST(Encryption, SurvivesEveryDamageToItsHeader) {
    const Bytes disk = smallDisk();
    const Bytes whole = quicklyEncrypted(disk, 256);
    const auto result = [&](const Bytes& file) -> std::optional<ImageError::Kind> {
        return errorOf([&] { readAll(*opened(inMemory(file), "quick")->disk()); });
    };
    ASSERT_EQ(result(whole), std::nullopt);
    for (std::size_t length = 8; length < 300; ++length) {
        EXPECT_NE(result(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))), std::nullopt);
    }
    for (const std::size_t missing : {1U, 512U, 5000U}) {
        EXPECT_EQ(result(Bytes(whole.begin(), whole.end() - missing)), ImageError::Kind::kDamaged);
    }
    for (std::size_t place = 8; place < 270; ++place) {
        for (const int value : {0x00, 0x01, 0x80, 0xff}) {
            if (place >= 104 && place < 106) {
                continue; // millions of rounds of key derivation; see the next test
            }
            Bytes changed = whole;
            changed[place] = static_cast<std::byte>(value);
            (void)result(changed);
        }
    }
}

TEST(Encryption, DoesNotDeriveKeysForMinutes) {
    Bytes file = quicklyEncrypted(smallDisk(), 256);
    storeBig(std::span(file), 104, std::uint32_t{0xffffffff});
    EXPECT_EQ(errorOf([&] { opened(inMemory(file), "quick"); }), ImageError::Kind::kDamaged);
}

TEST(Encryption, RefusesAnotherEncryptedImageInside) {
    const Bytes twice = quicklyEncrypted(quicklyEncrypted(smallDisk(), 128), 128);
    EXPECT_EQ(errorOf([&] { opened(inMemory(twice), "quick"); }), ImageError::Kind::kUnsupported);
}

TEST(Password, EndsWithTheInputAtANulOrBeforeTheLastLineEnd) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"test123", "test123"}, {"test123\n", "test123"}, {"test123\r\n", "test123"}, {"a\n\n", "a\n"},
        {"a\nb", "a\nb"},       {" a ", " a "},           {{"a\0b\n", 4}, "a"},       {"", ""},
    };
    for (const auto& [input, expected] : cases) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        ASSERT_EQ(write(ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
        close(ends[1]);
        const PasswordPtr password = readPassword(ends[0]);
        close(ends[0]);
        ASSERT_TRUE(password);
        EXPECT_TRUE(std::ranges::equal(password->bytes(), bytesOf(expected))) << input;
    }
}

TEST(Password, IsRefusedWhenItIsTooLong) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const std::string input(1025, 'p');
    ASSERT_EQ(write(ends[1], input.data(), input.size()), 1025);
    close(ends[1]);
    EXPECT_EQ(readPassword(ends[0]), nullptr);
    EXPECT_EQ(errno, E2BIG);
    close(ends[0]);
}

TEST(Password, IsOverwritten) {
    Password password;
    password.append(std::byte{'p'});
    password.append(std::byte{'q'});
    const std::byte* const place = password.bytes().data();
    password.wipe();
    EXPECT_EQ(place[0], std::byte{0});
    EXPECT_EQ(place[1], std::byte{0});
    EXPECT_TRUE(password.bytes().empty());
}

} // namespace hdi::test
