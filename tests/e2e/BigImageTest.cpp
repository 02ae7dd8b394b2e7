#include "tests/e2e/InstallerRun.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kGibibyte = std::uint64_t{1} << 30;
constexpr std::size_t kBlock = 4096;

// The sample installer, which also takes the first and the last block of a file of one gibibyte beside it.
QMap<QString, QByteArray> readingInstaller() {
    QMap<QString, QByteArray> files = sampleInstaller(u"Setup"_s);
    files[u"Setup.app/Contents/MacOS/Setup"_s].replace("#!/bin/sh\n",
                                                       "#!/bin/sh\n"
                                                       "payload=\"${0%/MacOS/*}/Resources/payload\"\n"
                                                       "stat -c %s \"$payload\" > \"$HOME/payload-size\"\n"
                                                       "head -c 4096 \"$payload\" > \"$HOME/payload-first\"\n"
                                                       "tail -c 4096 \"$payload\" > \"$HOME/payload-last\"\n");
    return files;
}

// Bytes that no format could leave out, a mebibyte at a time.
void writePayload(const QString& path) {
    std::ofstream file(path.toStdString(), std::ios::binary);
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    for (std::uint64_t offset = 0; offset < kGibibyte; offset += kPiece) {
        file << loopback::generatedBytes(offset, kPiece);
    }
    file.close();
    ASSERT_EQ(fs::file_size(path.toStdString()), kGibibyte);
}

// Stored without compression, so that the file that is downloaded is as large as what it holds.
QString bigImage() {
    const QString source = test::folder() + u"/big-source"_s;
    const QMap<QString, QByteArray> files = readingInstaller();
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString path = source + u'/' + file.key();
        test::writeFile(path, file.value());
        fs::permissions(path.toStdString(), fs::perms(file.key().contains(u"/MacOS/"_s) ? 0755 : 0644));
    }
    QDir().mkpath(source + u"/Setup.app/Contents/Resources"_s);
    writePayload(source + u"/Setup.app/Contents/Resources/payload"_s);
    const QString image = test::folder() + u"/big.dmg"_s;
    QProcess writer;
    writer.start(u"" BUILT_BUNDLE "/Contents/SystemRoot/usr/bin/hdiutil"_s,
                 {u"create"_s, u"-srcfolder"_s, source, u"-volname"_s, u"Kit Setup"_s, u"-format"_s, u"UDRO"_s, image});
    if (!writer.waitForFinished(60'000) || writer.exitCode() != 0) {
        ADD_FAILURE() << "the image was not made: " << writer.readAllStandardError().toStdString();
    }
    QDir(source).removeRecursively();
    return image;
}

QByteArray payload(std::uint64_t offset) {
    return QByteArray::fromStdString(loopback::generatedBytes(offset, kBlock));
}

// Every file system that is mounted below this folder.
QStringList mountsBelow(const QString& folder) {
    QStringList mounts;
    for (const QByteArray& line : test::readFile(u"/proc/self/mountinfo"_s).split('\n')) {
        if (line.contains(QByteArray(" " + folder.toUtf8() + "/"))) {
            mounts.append(QString::fromUtf8(line));
        }
    }
    return mounts;
}

} // namespace

TEST(BigImage, OfOneGibibyteIsMountedItsProgramReadsItAndNothingStaysMounted) {
    const QString image = bigImage();
    ASSERT_GT(QFile(image).size(), static_cast<qint64>(kGibibyte));
    InstallerRun run;
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s));
    run.portal().expect("GET /files/Kit.dmg",
                        {.headers = {{"Content-Type", "application/octet-stream"}}, .file = image.toStdString()});
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), u"install"_s); // as with any other image
    const QString home = run.folder() + u"/home/"_s;
    EXPECT_EQ(test::readFile(home + u"payload-size"_s), "1073741824\n");
    EXPECT_TRUE(test::readFile(home + u"payload-first"_s) == payload(0));
    EXPECT_TRUE(test::readFile(home + u"payload-last"_s) == payload(kGibibyte - kBlock));
    EXPECT_EQ(mountsBelow(run.folder()), QStringList());
    EXPECT_FALSE(QFile::exists(run.folder() + u"/system/Volumes/.hdiutil"_s));
}
