#include "platform/base/PropertyList.h"
#include "platform/base/StringsTable.h"
#include "tests/support/LoopbackServer.h"
#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/CheckOutput.h"
#include "tools/qn-portal/check/CheckRun.h"
#include "tools/qn-portal/check/Settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace portal::check::test {

namespace {

class CheckRun : public testing::Test {
protected:
    QString write(const QString& name, const QByteArray& bytes) {
        QFile file(folder_.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    CheckReport check(const QStringList& targets, bool isOffline = true) {
        CheckOptions options;
        options.targets = targets;
        options.isOffline = isOffline;
        options.isLocal = true;
        return runChecks(options);
    }

    QTemporaryDir folder_;
};

TEST(Settings, KnowTheLanguagesAndTextsOfTheBundle) {
    const QDir resources(QString::fromUtf8(SOURCE_FOLDER "/resources"));
    QStringList folders = resources.entryList({u"*.lproj"_s}, QDir::Dirs, QDir::Name);
    folders.removeAll(u"Base.lproj"_s);
    ASSERT_EQ(static_cast<std::size_t>(folders.size()), languages().size());
    for (const std::string_view language : languages()) {
        const QString name = QString::fromUtf8(language.data(), static_cast<qsizetype>(language.size()));
        EXPECT_TRUE(folders.contains(name + u".lproj"_s)) << language;
    }
    QFile file(resources.filePath(u"en.lproj/Localizable.strings"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QStringList keys;
    for (const std::string_view key : textKeys()) {
        keys += QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
    }
    EXPECT_EQ(StringsTable::parse(file.readAll())->keys(), keys);
}

TEST(Settings, AreThoseOfTheBundle) {
    QFile file(QString::fromUtf8(SOURCE_FOLDER "/resources/Info.plist"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QVariantMap list = PropertyList::parse(file.readAll())->toMap().value(u"QNConfig"_s).toMap();
    ASSERT_EQ(static_cast<std::size_t>(list.size()), settings().size());
    for (const Setting& setting : settings()) {
        const QString key = QString::fromUtf8(setting.key.data(), static_cast<qsizetype>(setting.key.size()));
        EXPECT_TRUE(list.contains(key)) << setting.key;
    }
}

TEST(Settings, NameALocaleForEachTable) {
    EXPECT_EQ(localeFor(u"de"_s), u"de-DE"_s);
    EXPECT_EQ(localeFor(u"pt"_s), u"pt-BR"_s);
    EXPECT_EQ(localeFor(u"zh-Hant"_s), u"zh-TW"_s);
    EXPECT_EQ(localeFor(u"zh-Hans"_s), u"zh-CN"_s);
    EXPECT_EQ(localeFor(u"uk"_s), u"uk-UK"_s); // a guess
}

TEST_F(CheckRun, TakesADocumentForOneAndIsGood) {
    const CheckReport report = check({write(u"config.json"_s, goodDocument())});
    EXPECT_THAT(codesOf(report.findings), IsEmpty());
    EXPECT_EQ(report.checked, 1);
    EXPECT_EQ(statusOf(report, true), 0);
}

TEST_F(CheckRun, CannotCheckNoise) {
    const CheckReport report = check({write(u"noise"_s, QByteArray("\x01\x9f\x00\x13{\"", 6))});
    ASSERT_EQ(report.refusals.size(), 1);
    EXPECT_THAT(report.refusals[0].toStdString(), HasSubstr("is neither a configuration nor an image"));
    EXPECT_EQ(statusOf(report, false), 2);
}

TEST_F(CheckRun, CannotCheckWhatIsNotThere) {
    EXPECT_EQ(statusOf(check({folder_.filePath(u"nothing.json"_s)}), false), 2);
}

TEST_F(CheckRun, DoesNotWaitForAPipe) {
    const QString pipe = folder_.filePath(u"pipe.json"_s);
    ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(statusOf(check({pipe}), false), 2);
}

TEST_F(CheckRun, EndsOnEveryBeginningOfAnImage) {
    const QString whole = QString::fromUtf8(STORED_IMAGES) + u"/hfsplus-gpt-zlib-stub-app.dmg"_s;
    QFile file(whole);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    for (qsizetype length = 0; length < bytes.size(); length += bytes.size() / 40) {
        const CheckReport report = check({write(u"cut.dmg"_s, bytes.left(length))});
        EXPECT_THAT(codesOf(report.findings), ElementsAre("image-not-recognized")) << length;
    }
}

TEST_F(CheckRun, CannotCheckAFolderWithNothingInIt) {
    EXPECT_EQ(statusOf(check({folder_.path()}), false), 2);
}

TEST_F(CheckRun, LooksIntoTheFoldersOfAFolder) {
    ASSERT_TRUE(QDir(folder_.path()).mkpath(u"portal/download"_s));
    ASSERT_TRUE(QFile::link(folder_.path(), folder_.filePath(u"portal/up"_s)));
    write(u"portal/config.json"_s, goodDocument());
    write(u"portal/download/Kit.dmg"_s, "a page in its place");
    const CheckReport report = check({folder_.filePath(u"portal"_s)});
    EXPECT_THAT(codesOf(report.findings), ElementsAre("image-not-recognized"));
    EXPECT_EQ(report.checked, 2);
}

TEST_F(CheckRun, DoesNotAskServersWhenOffline) {
    const CheckReport report = check({u"https://www.kit-portal.net/config.json"_s});
    EXPECT_THAT(report.refusals.join(u' ').toStdString(), HasSubstr("cannot be asked with --offline"));
}

TEST_F(CheckRun, CountsWarningsOnlyWhenItIsStrict) {
    const CheckReport report = check({write(u"config.json"_s, goodDocument().replace("\"Kit\"", "\"Kit \""))});
    EXPECT_THAT(codesOf(report.findings), ElementsAre("config-blanks-around"));
    EXPECT_EQ(statusOf(report, false), 0);
    EXPECT_EQ(statusOf(report, true), 1);
}

TEST_F(CheckRun, WritesOneObjectOfJson) {
    const CheckReport report = check({write(u"c.json"_s, goodDocument().replace("install", "Install"))});
    const auto object = nlohmann::json::parse(jsonOutput(report));
    EXPECT_EQ(object["checked"], 1);
    ASSERT_EQ(object["findings"].size(), 1U);
    EXPECT_EQ(object["findings"][0]["code"], "config-unhandled-action");
    EXPECT_EQ(object["findings"][0]["severity"], "error");
    EXPECT_EQ(object["findings"][0]["where"], folder_.filePath(u"c.json:3:29 $.userAction[0].action"_s).toStdString());
    EXPECT_EQ(object["findings"][0]["user_sees"], "The window says \"Connecting…\" and its spinner turns for ever.");
    EXPECT_EQ(object["findings"][0]["fix"], "Use \"install\" or \"openLink\", spelt like this.");
}

TEST_F(CheckRun, DrawsThePlaceForPeople) {
    const CheckReport report = check({write(u"c.json"_s, goodDocument().replace("install", "Install"))});
    EXPECT_THAT(textOutput(report, false),
                HasSubstr("  3 |   \"userAction\": [{\"action\": \"Install\", \"isActive\": \"1\"}],\n"
                          "    |                             ^\n"));
    EXPECT_THAT(textOutput(report, false), HasSubstr("1 error, 0 warnings, 0 notes; 1 thing checked.\n"));
}

TEST_F(CheckRun, WritesAJUnitCaseForEachCheck) {
    const CheckReport report = check({write(u"c.json"_s, goodDocument().replace("install", "Install"))});
    const std::string xml = junitOutput(report, false);
    EXPECT_THAT(xml, HasSubstr("failures=\"1\""));
    EXPECT_THAT(xml, HasSubstr("tests=\"" + std::to_string(rules().size()) + "\""));
}

TEST_F(CheckRun, AsksForTheConfigurationWithTheInstallersHeaders) {
    loopback::LoopbackServer server;
    loopback::Reply reply = loopback::replyWith(R"({"userAction": []})", "application/json");
    server.serve("GET /config.json", reply);
    CheckOptions options;
    options.targets = QStringList{QString::fromStdString(server.address("/config.json"))};
    options.locales = QStringList{u"de-AT"_s};
    static_cast<void>(runChecks(options));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].header("os"), "mac");
    EXPECT_EQ(requests[0].header("country"), "AT");
    EXPECT_EQ(requests[0].header("locale"), "de-AT");
    EXPECT_TRUE(requests[0].header("ci") && requests[0].header("osVer"));
}

TEST_F(CheckRun, ReadsTheImageThatItFollowsTo) {
    loopback::LoopbackServer server;
    const std::string document = R"({"analyticsUrl": ")" + server.address("/lines") +
                                 R"(", "userAction": [{"action": "install", "isActive": "1"}],
        "software": [{"IsActive": "1", "appName": "Kit", "macUrl": ")" +
                                 server.address("/Kit.dmg") + "\"}]}";
    loopback::Reply image = loopback::replyWith("<html>", "application/octet-stream");
    image.headers.emplace_back("ETag", "\"1\"");
    server.serve("GET /Kit.dmg", image);
    server.serve("POST /lines", loopback::replyWith("", "text/plain"));
    const CheckReport report = check({write(u"config.json"_s, QByteArray::fromStdString(document))}, false);
    EXPECT_THAT(codesOf(report.findings), ElementsAre("image-not-recognized"));
    EXPECT_EQ(report.checked, 3);
}

TEST_F(CheckRun, FindsADocumentThatDependsOnTheLanguageAndDoesNotSaySo) {
    loopback::LoopbackServer server;
    const auto reply = [](const char* body) {
        loopback::Reply answer = loopback::replyWith(body, "application/json");
        answer.headers.emplace_back("Cache-Control", "max-age=60");
        return answer;
    };
    server.expect("GET /config.json", reply(R"({"analyticsUrl": ""})"));
    server.expect("GET /config.json", reply(R"({})"));
    CheckOptions options;
    options.targets = QStringList{QString::fromStdString(server.address("/config.json"))};
    options.locales = QStringList{u"en-US"_s, u"de-DE"_s};
    options.isLocal = true;
    const CheckReport report = runChecks(options);
    EXPECT_TRUE(report.findings.has("transfer-missing-vary"));
}

} // namespace

} // namespace portal::check::test
