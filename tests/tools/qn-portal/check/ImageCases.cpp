#include "hdiutil/create/DiskLayout.h"
#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/front/Create.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/partition/PartitionMap.h"
#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/ImageCheck.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

using namespace Qt::StringLiterals;

namespace portal::check::test {

namespace {

void write(const QString& path, const QByteArray& bytes, bool isProgram = false) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
    const auto readable = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    file.setPermissions(isProgram ? readable | QFileDevice::ExeOwner : readable);
}

QByteArray info(const QByteArray& more = {}) {
    return R"(<?xml version="1.0"?><plist version="1.0"><dict><key>CFBundleExecutable</key><string>Kit</string>)"
           R"(<key>CFBundleIdentifier</key><string>net.kit-portal.kit</string>)" +
           more + "</dict></plist>";
}

// A folder that becomes the volume.
class KitVolume {
public:
    KitVolume() { addApplication(u"Kit.app"_s); }

    QString path(const QString& name) const { return folder_.filePath(u"root/"_s + name); }
    void addApplication(const QString& name) const {
        write(path(name + u"/Contents/Info.plist"_s), info());
        write(path(name + u"/Contents/MacOS/Kit"_s), "#!/bin/sh\nexit 0\n", true);
    }
    void setProgram(const QByteArray& bytes) const { write(path(u"Kit.app/Contents/MacOS/Kit"_s), bytes, true); }

    QString image(const std::string& name = "Kit") const {
        hdi::CreateOptions options;
        options.sourceFolder = path({}).toStdString();
        options.volumeName = name;
        const QString image = folder_.filePath(u"Kit.dmg"_s);
        static_cast<void>(hdi::createImage(options, image.toStdString()));
        return image;
    }

    QString other(const QString& name) const { return folder_.filePath(name); }

private:
    QTemporaryDir folder_;
};

void check(Findings& findings, const QString& image) {
    InstallerFacts installer;
    installer.identifier = u"net.kit-portal.installer"_s;
    checkImage(findings, image, u"Kit.dmg"_s, installer);
}

Case with(const char* code, const std::function<void(const KitVolume&)>& change) {
    return {code, [change](Findings& findings) {
                const KitVolume volume;
                change(volume);
                check(findings, volume.image());
            }};
}

// The good image with its bytes changed.
Case withBytes(const char* code, const std::function<void(QByteArray&)>& change) {
    return {code, [change](Findings& findings) {
                const KitVolume volume;
                QFile file(volume.image());
                ASSERT_TRUE(file.open(QIODevice::ReadOnly));
                QByteArray bytes = file.readAll();
                change(bytes);
                const QString changed = volume.other(u"Changed.dmg"_s);
                write(changed, bytes);
                check(findings, changed);
            }};
}

// Puts a text among the image's resources. The trailer, the last 512 bytes, tells where their list lies.
void addLicence(QByteArray& bytes) {
    char* const length = bytes.data() + bytes.size() - 512 + 0xe0;
    const auto listLength = qFromBigEndian<quint64>(length);
    const QByteArray licence = "<key>TEXT</key><array><dict><key>Attributes</key><string>0x0000</string>"
                               "<key>Data</key><data>TGljZW5jZQ==</data><key>ID</key><string>5000</string>"
                               "<key>Name</key><string>English</string></dict></array>";
    qToBigEndian<quint64>(listLength + static_cast<quint64>(licence.size()), length);
    bytes.insert(bytes.indexOf("<key>blkx</key>"), licence);
}

Case stored(const char* code, const char* name) {
    return {code, [name](Findings& findings) {
                check(findings, QString::fromUtf8(STORED_IMAGES) + QLatin1Char('/') + QString::fromUtf8(name));
            }};
}

class MemorySource final : public hdi::ByteSource {
public:
    explicit MemorySource(QByteArray bytes) : bytes_(std::move(bytes)) {}
    std::uint64_t size() const override { return static_cast<std::uint64_t>(bytes_.size()); }
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        std::memcpy(into.data(), bytes_.constData() + offset, into.size());
    }

private:
    QByteArray bytes_;
};

// The file system of an image with one partition.
QByteArray fileSystemOf(const QString& image) {
    const auto disk = hdi::DiskImage::open(image.toStdString())->disk();
    for (const hdi::Partition& partition : hdi::readPartitionMap(*disk).partitions) {
        if (partition.content == "Apple_HFS") {
            QByteArray bytes(static_cast<qsizetype>(partition.length), '\0');
            disk->read(partition.offset,
                       std::as_writable_bytes(std::span(bytes.data(), static_cast<std::size_t>(bytes.size()))));
            return bytes;
        }
    }
    return {};
}

// An image of a disk with a master boot record and two partitions for HFS+.
QString imageOfTwo(const KitVolume& volume, const QByteArray& one, const QByteArray& other) {
    const auto sectors = [](const QByteArray& bytes) { return static_cast<quint32>(bytes.size() / 512); };
    QByteArray disk(512, '\0');
    const auto putEntry = [&](qsizetype at, quint32 begin, quint32 count) {
        disk[at + 4] = '\xaf';
        qToLittleEndian(begin, disk.data() + at + 8);
        qToLittleEndian(count, disk.data() + at + 12);
    };
    putEntry(446, 1, sectors(one));
    putEntry(462, 1 + sectors(one), sectors(other));
    disk[510] = '\x55';
    disk[511] = '\xaa';
    disk += one + other;
    const QString path = volume.other(u"Two.dmg"_s);
    hdi::writeUdif(MemorySource(disk), {{"whole disk", 0, sectors(disk)}}, path.toStdString(), {});
    return path;
}

QByteArray littleEndian(std::initializer_list<quint32> words) {
    QByteArray bytes;
    for (const quint32 word : words) {
        const quint32 stored = qToLittleEndian(word);
        bytes.append(reinterpret_cast<const char*>(&stored), sizeof stored);
    }
    return bytes;
}

constexpr quint32 kArm64 = 0x0100000c;
constexpr quint32 kIntel = 0x01000007;

// A 64-bit Mach-O program: its header, LC_BUILD_VERSION and, when it is signed, LC_CODE_SIGNATURE.
QByteArray slice(quint32 processor, quint32 system, bool isSigned) {
    const quint32 commands = isSigned ? 2 : 1;
    QByteArray bytes = littleEndian({0xfeedfacf, processor, 0, 2, commands, 24 + (isSigned ? 16U : 0U), 0, 0});
    bytes += littleEndian({0x32, 24, 1, system, system, 0});
    if (isSigned) {
        bytes += littleEndian({0x1d, 16, 4096, 64});
    }
    return bytes.leftJustified(256, '\0');
}

QByteArray bigEndian(std::initializer_list<quint32> words) {
    QByteArray bytes;
    for (const quint32 word : words) {
        const quint32 stored = qToBigEndian(word);
        bytes.append(reinterpret_cast<const char*>(&stored), sizeof stored);
    }
    return bytes;
}

QByteArray fat(const QByteArray& intel, const QByteArray& arm) {
    return bigEndian({0xcafebabe, 2, kIntel, 3, 256, 256, 0, kArm64, 0, 512, 256, 0}).leftJustified(256, '\0') + intel +
           arm;
}

constexpr quint32 k11 = 11U << 16U;
constexpr quint32 k13 = 13U << 16U;

QByteArray elf(char machine) {
    QByteArray bytes(64, '\0');
    bytes.replace(0, 6,
                  QByteArray("\x7f"
                             "ELF\x02\x01",
                             6));
    bytes[18] = machine;
    return bytes;
}

#ifdef __x86_64__
constexpr char kOurs = 62;
constexpr char kForeign = char(183); // aarch64
#else
constexpr char kOurs = char(183);
constexpr char kForeign = 62;
#endif

std::vector<Case> containerCases() {
    return {
        {"image-not-recognized",
         [](Findings& findings) {
             const KitVolume volume;
             write(volume.other(u"Page.dmg"_s), "<html>404</html>");
             check(findings, volume.other(u"Page.dmg"_s));
         }},
        stored("image-encrypted", "encrypted.dmg"),
        withBytes("image-damaged",
                  [](QByteArray& bytes) {
                      bytes[bytes.size() - 512 + 0xd8] = '\x7f'; /* where the list lies */
                  }),
        withBytes("image-checksum", [](QByteArray& bytes) { bytes[100] = static_cast<char>(bytes[100] ^ 1); }),
        {"image-no-checksum",
         [](Findings& findings) {
             const KitVolume volume;
             const auto disk = hdi::DiskImage::open(volume.image().toStdString())->disk();
             QByteArray bytes(static_cast<qsizetype>(disk->size()), '\0');
             disk->read(0, std::as_writable_bytes(std::span(bytes.data(), static_cast<std::size_t>(bytes.size()))));
             write(volume.other(u"Raw.dmg"_s), bytes);
             check(findings, volume.other(u"Raw.dmg"_s));
         }},
        stored("image-empty", "apfs-gpt-lzfse-empty.dmg"),
        withBytes("image-licence", addLicence),
        {"image-no-volume",
         [](Findings& findings) {
             const KitVolume volume;
             const auto empty = std::make_shared<MemorySource>(QByteArray(1 << 20, '\0'));
             const hdi::NewDisk disk = hdi::layOut(empty, hdi::Layout::kGpt);
             const QString path = volume.other(u"Nothing.dmg"_s);
             hdi::writeUdif(*disk.disk, disk.ranges, path.toStdString(), {});
             check(findings, path);
         }},
        {"image-two-volumes",
         [](Findings& findings) {
             const KitVolume volume;
             const QByteArray bytes = fileSystemOf(volume.image());
             check(findings, imageOfTwo(volume, bytes, bytes));
         }},
        {"image-volume-unreadable",
         [](Findings& findings) {
             const KitVolume volume;
             const QByteArray bytes = fileSystemOf(volume.image());
             QByteArray damaged = bytes;
             damaged.replace(1024 + 40, 4, QByteArray(4, '\0')); // the size of a block
             check(findings, imageOfTwo(volume, bytes, damaged));
         }},
        {"image-large",
         [](Findings& findings) {
             const KitVolume volume;
             InstallerFacts installer;
             installer.muchSpace = 1000;
             checkImage(findings, volume.image(), u"Kit.dmg"_s, installer);
         }},
    };
}

std::vector<Case> topCases() {
    return {
        {"image-volume-name",
         [](Findings& findings) {
             const KitVolume volume;
             QByteArray bytes = fileSystemOf(volume.image("Kit_"));
             bytes.replace(QByteArrayView("\0K\0i\0t\0_", 8), QByteArrayView("\0K\0i\0t\0 ", 8)); // no tool writes it
             const auto fileSystem = std::make_shared<MemorySource>(bytes);
             const hdi::NewDisk disk = hdi::layOut(fileSystem, hdi::Layout::kGpt);
             const QString path = volume.other(u"Blank.dmg"_s);
             hdi::writeUdif(*disk.disk, disk.ranges, path.toStdString(), {});
             check(findings, path);
         }},
        with("image-empty", [](const KitVolume& volume) { QDir(volume.path(u"Kit.app"_s)).removeRecursively(); }),
        with("image-no-application",
             [](const KitVolume& volume) { QDir(volume.path({})).rename(u"Kit.app"_s, u"Kit"_s); }),
        with("image-two-applications", [](const KitVolume& volume) { volume.addApplication(u"Other.app"_s); }),
        with("image-hidden-application", [](const KitVolume& volume) { volume.addApplication(u".Old.app"_s); }),
        with("image-application-case",
             [](const KitVolume& volume) { QDir(volume.path({})).rename(u"Kit.app"_s, u"Kit.APP"_s); }),
        with("image-application-blanks",
             [](const KitVolume& volume) { QDir(volume.path({})).rename(u"Kit.app"_s, u"Kit .app"_s); }),
        with("image-name-two-forms",
             [](const KitVolume& volume) { QDir(volume.path({})).rename(u"Kit.app"_s, u"Kït.app"_s); }),
        with("image-application-no-folder",
             [](const KitVolume& volume) {
                 QDir(volume.path(u"Kit.app"_s)).removeRecursively();
                 write(volume.path(u"Kit.app"_s), "x");
             }),
    };
}

std::vector<Case> applicationCases() {
    const auto withInfo = [](const char* code, const QByteArray& bytes) {
        return with(code,
                    [bytes](const KitVolume& volume) { write(volume.path(u"Kit.app/Contents/Info.plist"_s), bytes); });
    };
    const auto withProgram = [](const char* code, const QByteArray& bytes) {
        return with(code, [bytes](const KitVolume& volume) { volume.setProgram(bytes); });
    };
    const QByteArray intel = slice(kIntel, k11, true);
    const QByteArray arm = slice(kArm64, k11, true);
    return {
        withInfo("image-no-info", "<plist"),
        withInfo("image-no-identifier", info().replace("CFBundleIdentifier", "BundleIdentifier")),
        withInfo("image-installer-identifier", info().replace("net.kit-portal.kit", "net.kit-portal.installer")),
        withInfo("image-no-program", info().replace("<string>Kit<", "<string>kitt<")),
        withInfo("image-minimum-system", info("<key>LSMinimumSystemVersion</key><string>13.0</string>")),
        with("image-program-not-executable",
             [](const KitVolume& volume) { write(volume.path(u"Kit.app/Contents/MacOS/Kit"_s), "#!/bin/sh\n"); }),
        withProgram("image-not-a-program", "just words"),
        withProgram("image-other-system", elf(kOurs)),
        withProgram("image-architecture", elf(kForeign)),
        withProgram("image-architecture", slice(18, k11, true)),
        withProgram("image-no-arm64", intel),
        withProgram("image-no-x86_64", arm),
        withProgram("image-minimum-system", fat(slice(kIntel, k13, true), arm)),
        withProgram("image-unsigned", fat(intel, slice(kArm64, k11, false))),
    };
}

} // namespace

void checkGoodImage(Findings& findings) {
    const KitVolume volume;
    check(findings, volume.image());
    volume.setProgram(fat(slice(kIntel, k11, true), slice(kArm64, k11, true)));
    QFile::remove(volume.other(u"Kit.dmg"_s));
    check(findings, volume.image());
}

std::vector<Case> imageCases() {
    std::vector<Case> all;
    for (const auto& cases : {containerCases(), topCases(), applicationCases()}) {
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

} // namespace portal::check::test
