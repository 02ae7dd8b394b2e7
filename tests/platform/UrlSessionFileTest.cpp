#include "tests/platform/AsNobody.h"
#include "tests/platform/TransferOutcome.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using testing::ElementsAre;

namespace {

std::string fileAddress(const QString& path) {
    return "file://" + (test::folder() + path).toStdString();
}

} // namespace

TEST(UrlSessionFile, ReadsAFileAsAnAnswerWithoutAStatus) {
    test::writeFile(test::folder() + u"/notes"_s, "from disk");
    const auto outcome = test::fetch(fileAddress(u"/notes"_s));
    EXPECT_EQ(outcome.data, QByteArray("from disk"));
    ASSERT_TRUE(outcome.response);
    EXPECT_FALSE(outcome.response->isHttp);
    EXPECT_EQ(outcome.response->statusCode, 0);
    EXPECT_EQ(outcome.response->suggestedFilename, u"notes"_s);
}

TEST(UrlSessionFile, UndoesTheEscapesOfThePath) {
    test::writeFile(test::folder() + u"/Kit 4\u00fc.dmg"_s, "image");
    const auto outcome = test::fetch(fileAddress(u"/Kit%204%C3%BC.dmg?query#fragment"_s));
    EXPECT_EQ(outcome.data, QByteArray("image"));
    EXPECT_EQ(outcome.response->suggestedFilename, u"Kit 4\u00fc.dmg"_s);
}

TEST(UrlSessionFile, AcceptsLocalhostAndNoAuthority) {
    test::writeFile(test::folder() + u"/f"_s, "x");
    const auto path = (test::folder() + u"/f"_s).toStdString();
    EXPECT_EQ(test::fetch("file://localhost" + path).data, QByteArray("x"));
    EXPECT_EQ(test::fetch("file:" + path).data, QByteArray("x"));
    EXPECT_EQ(test::fetch("FILE://" + path).data, QByteArray("x"));
}

TEST(UrlSessionFile, GivesEmptyDataForAnEmptyFile) {
    test::writeFile(test::folder() + u"/empty"_s, "");
    EXPECT_EQ(test::fetch(fileAddress(u"/empty"_s)).data, QByteArray(""));
}

TEST(UrlSessionFile, DownloadsAFileInBlocks) {
    const QByteArray contents(3'000'000, 'f');
    test::writeFile(test::folder() + u"/Kit.dmg"_s, contents);
    const auto outcome = test::download(fileAddress(u"/Kit.dmg"_s));
    EXPECT_THAT(outcome.endings(), ElementsAre("finished", "complete 0"));
    EXPECT_EQ(outcome.contents, contents);
    EXPECT_EQ(outcome.response.suggestedFilename, u"Kit.dmg"_s);
}

TEST(UrlSessionFile, ReportsAMissingFile) {
    EXPECT_EQ(test::fetch(fileAddress(u"/missing"_s)).errorCode(), -1100);
    EXPECT_EQ(test::fetch(fileAddress(u"/missing%00"_s)).errorCode(), -1100);
    EXPECT_EQ(test::fetch("file:").errorCode(), -1100);
}

TEST(UrlSessionFile, ReportsAFolderBeforeAnythingElse) {
    const QString folder = test::folder() + u"/locked"_s;
    ASSERT_EQ(mkdir(folder.toUtf8().constData(), 0), 0);
    EXPECT_EQ(test::fetch(fileAddress(u"/locked"_s)).errorCode(), -1101);
    EXPECT_EQ(test::fetch("file:///").errorCode(), -1101);
}

TEST(UrlSessionFile, ReportsAFileThatMayNotBeRead) {
    const QString path = test::folder() + u"/locked"_s;
    test::writeFile(path, "secret");
    ASSERT_EQ(chmod(path.toUtf8().constData(), 0), 0);
    ASSERT_EQ(chmod(test::folder().toUtf8().constData(), 0755), 0);
    const test::AsNobody nobody;
    EXPECT_EQ(test::fetch(fileAddress(u"/locked"_s)).errorCode(), -1102);
}

TEST(UrlSessionFile, DoesNotWaitForAPipe) {
    const QString path = test::folder() + u"/pipe"_s;
    ASSERT_EQ(mkfifo(path.toUtf8().constData(), 0600), 0);
    EXPECT_EQ(test::fetch(fileAddress(u"/pipe"_s)).errorCode(), -1102);
}
