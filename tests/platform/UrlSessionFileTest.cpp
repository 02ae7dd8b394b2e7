#include "tests/platform/AsNobody.h"
#include "tests/platform/TransferOutcome.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;

namespace {

std::string fileAddress(const QString& path) {
    return "file://" + (test::folder() + path).toStdString();
}

} // namespace

TEST(UrlSessionFile, ReadsAFileAsAnAnswerWithoutAStatus) {
    test::writeFile(test::folder() + QStringLiteral("/notes"), "from disk");
    const auto outcome = test::fetch(fileAddress(QStringLiteral("/notes")));
    EXPECT_EQ(outcome.data, QByteArray("from disk"));
    ASSERT_TRUE(outcome.response);
    EXPECT_FALSE(outcome.response->isHttp);
    EXPECT_EQ(outcome.response->statusCode, 0);
    EXPECT_EQ(outcome.response->suggestedFilename, QStringLiteral("notes"));
}

TEST(UrlSessionFile, UndoesTheEscapesOfThePath) {
    test::writeFile(test::folder() + QStringLiteral("/Kit 4\u00fc.dmg"), "image");
    const auto outcome = test::fetch(fileAddress(QStringLiteral("/Kit%204%C3%BC.dmg?query#fragment")));
    EXPECT_EQ(outcome.data, QByteArray("image"));
    EXPECT_EQ(outcome.response->suggestedFilename, QStringLiteral("Kit 4\u00fc.dmg"));
}

TEST(UrlSessionFile, AcceptsLocalhostAndNoAuthority) {
    test::writeFile(test::folder() + QStringLiteral("/f"), "x");
    const auto path = (test::folder() + QStringLiteral("/f")).toStdString();
    EXPECT_EQ(test::fetch("file://localhost" + path).data, QByteArray("x"));
    EXPECT_EQ(test::fetch("file:" + path).data, QByteArray("x"));
    EXPECT_EQ(test::fetch("FILE://" + path).data, QByteArray("x"));
}

TEST(UrlSessionFile, GivesEmptyDataForAnEmptyFile) {
    test::writeFile(test::folder() + QStringLiteral("/empty"), "");
    EXPECT_EQ(test::fetch(fileAddress(QStringLiteral("/empty"))).data, QByteArray(""));
}

TEST(UrlSessionFile, DownloadsAFileInBlocks) {
    const QByteArray contents(3'000'000, 'f');
    test::writeFile(test::folder() + QStringLiteral("/Kit.dmg"), contents);
    const auto outcome = test::download(fileAddress(QStringLiteral("/Kit.dmg")));
    EXPECT_THAT(outcome.endings(), ElementsAre("finished", "complete 0"));
    EXPECT_EQ(outcome.contents, contents);
    EXPECT_EQ(outcome.response.suggestedFilename, QStringLiteral("Kit.dmg"));
}

TEST(UrlSessionFile, ReportsAMissingFile) {
    EXPECT_EQ(test::fetch(fileAddress(QStringLiteral("/missing"))).errorCode(), -1100);
    EXPECT_EQ(test::fetch(fileAddress(QStringLiteral("/missing%00"))).errorCode(), -1100);
    EXPECT_EQ(test::fetch("file:").errorCode(), -1100);
}

TEST(UrlSessionFile, ReportsAFolderBeforeAnythingElse) {
    const QString folder = test::folder() + QStringLiteral("/locked");
    ASSERT_EQ(mkdir(folder.toUtf8().constData(), 0), 0);
    EXPECT_EQ(test::fetch(fileAddress(QStringLiteral("/locked"))).errorCode(), -1101);
    EXPECT_EQ(test::fetch("file:///").errorCode(), -1101);
}

TEST(UrlSessionFile, ReportsAFileThatMayNotBeRead) {
    const QString path = test::folder() + QStringLiteral("/locked");
    test::writeFile(path, "secret");
    ASSERT_EQ(chmod(path.toUtf8().constData(), 0), 0);
    ASSERT_EQ(chmod(test::folder().toUtf8().constData(), 0755), 0);
    const test::AsNobody nobody;
    EXPECT_EQ(test::fetch(fileAddress(QStringLiteral("/locked"))).errorCode(), -1102);
}

TEST(UrlSessionFile, DoesNotWaitForAPipe) {
    const QString path = test::folder() + QStringLiteral("/pipe");
    ASSERT_EQ(mkfifo(path.toUtf8().constData(), 0600), 0);
    EXPECT_EQ(test::fetch(fileAddress(QStringLiteral("/pipe"))).errorCode(), -1102);
}
