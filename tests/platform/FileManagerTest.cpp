#include "platform/FileManager.h"
#include "platform/base/PlatformException.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

QString path(const char* name) {
    return test::folder() + u'/' + QString::fromUtf8(name);
}

} // namespace

TEST(FileManager, CountsRemovingWhatIsMissingAsAFailure) {
    const std::optional<FileManager::Error> error = FileManager::removeItem(path("none"));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->text(),
              u"Error Domain=NSCocoaErrorDomain Code=4 \"“none” couldn’t be removed.\" UserInfo={NSFilePath="_s +
                  path("none") + u"}"_s);
}

TEST(FileManager, RemovesAFolderWithAllInItAndDoesNotFollowLinks) {
    test::writeFile(path("kept/file"), "x");
    test::writeFile(path("folder/deep/file"), "x");
    fs::create_symlink(path("kept").toStdString(), path("folder/link").toStdString());
    EXPECT_FALSE(FileManager::removeItem(path("folder")));
    EXPECT_FALSE(FileManager::fileExists(path("folder")));
    EXPECT_TRUE(FileManager::fileExists(path("kept/file")));
}

TEST(FileManager, RemovesALinkThatPointsNowhere) {
    fs::create_symlink("nowhere", path("link").toStdString());
    EXPECT_FALSE(FileManager::removeItem(path("link")));
    EXPECT_FALSE(fs::is_symlink(path("link").toStdString()));
}

TEST(FileManager, DoesNotMoveOntoAnExistingTarget) {
    test::writeFile(path("a"), "new");
    test::writeFile(path("b"), "old");
    EXPECT_TRUE(FileManager::moveItem(path("a"), path("b")));
    EXPECT_EQ(test::readFile(path("b")), "old");
    EXPECT_EQ(test::readFile(path("a")), "new");
}

TEST(FileManager, DoesNotMoveIntoAMissingFolder) {
    test::writeFile(path("a"), "new");
    EXPECT_TRUE(FileManager::moveItem(path("a"), path("none/b")));
    EXPECT_TRUE(FileManager::fileExists(path("a")));
}

TEST(FileManager, MovesAFile) {
    test::writeFile(path("a"), "new");
    EXPECT_FALSE(FileManager::moveItem(path("a"), path("b")));
    EXPECT_EQ(test::readFile(path("b")), "new");
    EXPECT_FALSE(FileManager::fileExists(path("a")));
}

TEST(FileManager, ListsHiddenNamesAndNothingForAMissingFolder) {
    test::writeFile(path("folder/.hidden"), "");
    test::writeFile(path("folder/._Setup.app"), "");
    QStringList names = FileManager::contentsOfDirectory(path("folder")).value_or(QStringList());
    names.sort();
    EXPECT_EQ(names, (QStringList{u"._Setup.app"_s, u".hidden"_s}));
    EXPECT_FALSE(FileManager::contentsOfDirectory(path("none")));
}

TEST(FileManager, CreatesFoldersWithTheirParentsAndTakesAnExistingOne) {
    EXPECT_FALSE(FileManager::createDirectory(path("a/b/c")));
    EXPECT_FALSE(FileManager::createDirectory(path("a/b/c")));
    EXPECT_TRUE(fs::is_directory(path("a/b/c").toStdString()));
}

TEST(FileManager, FailsWhereAFileStandsInTheWay) {
    test::writeFile(path("file"), "");
    EXPECT_TRUE(FileManager::createDirectory(path("file/below")));
    EXPECT_TRUE(FileManager::createDirectory(path("file")));
}

TEST(FileManager, CreatesAnEmptyFileAndTellsAFailure) {
    EXPECT_TRUE(FileManager::createFile(path("file")));
    EXPECT_EQ(fs::file_size(path("file").toStdString()), 0U);
    EXPECT_FALSE(FileManager::createFile(path("none/file")));
}

TEST(FileManager, ReplacesAFileAtomically) {
    test::writeFile(path("file"), "old and longer");
    EXPECT_FALSE(FileManager::writeAtomically("new", path("file")));
    EXPECT_EQ(test::readFile(path("file")), "new");
    EXPECT_TRUE(FileManager::writeAtomically("new", path("none/file")));
}

TEST(FileManager, MapsPathsThroughTheSystemRoot) {
    test::putSystemFile(u"/etc/only-here"_s, "x");
    EXPECT_TRUE(FileManager::fileExists(u"/etc/only-here"_s));
    EXPECT_EQ(FileManager::contents(u"/etc/only-here"_s), QByteArray("x"));
}

TEST(WritingFileHandle, IsAbsentForAMissingFileAndThenIgnoresEverything) {
    WritingFileHandle handle(path("none"));
    EXPECT_FALSE(handle.isPresent());
    EXPECT_NO_THROW({
        handle.seekToEndOfFile();
        handle.writeData("x");
        handle.closeFile();
    });
    EXPECT_FALSE(FileManager::fileExists(path("none")));
}

TEST(WritingFileHandle, IsAbsentForAFolder) {
    EXPECT_FALSE(WritingFileHandle(test::folder()).isPresent());
}

TEST(WritingFileHandle, AppendsWithoutTruncating) {
    test::writeFile(path("file"), "one\n");
    WritingFileHandle handle(path("file"));
    handle.seekToEndOfFile();
    handle.writeData("two\n");
    handle.closeFile();
    EXPECT_EQ(test::readFile(path("file")), "one\ntwo\n");
}

TEST(WritingFileHandle, RaisesWhenTheDiskIsFull) {
    WritingFileHandle handle(u"/dev/full"_s);
    ASSERT_TRUE(handle.isPresent());
    try {
        handle.writeData("x");
        FAIL() << "nothing was raised";
    } catch (const PlatformException& exception) {
        EXPECT_EQ(exception.name(), u"NSFileHandleOperationException"_s);
        EXPECT_EQ(exception.reason(), u"*** -[NSConcreteFileHandle writeData:]: No space left on device"_s);
    }
}

TEST(WritingFileHandle, KeepsLinesOfTwoThreadsWhole) {
    test::writeFile(path("file"), "");
    const auto append = [](const QByteArray& line) {
        for (int index = 0; index < 300; ++index) {
            WritingFileHandle handle(path("file"));
            handle.seekToEndOfFile();
            handle.writeData(line);
            handle.closeFile();
        }
    };
    std::thread other([&] { append(QByteArray(200, 'a') + "\n"); });
    append(QByteArray(300, 'b') + "\n");
    other.join();
    qsizetype lines = 0;
    for (const QByteArray& line : test::readFile(path("file")).split('\n')) {
        EXPECT_TRUE(line.isEmpty() || line == QByteArray(200, 'a') || line == QByteArray(300, 'b'));
        lines += line.isEmpty() ? 0 : 1;
    }
    EXPECT_EQ(lines, 600);
}
