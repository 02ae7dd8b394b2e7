#include "logging/QNLogger.h"
#include "platform/base/PlatformException.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const LogContext kContext{
    {u"language"_s, u"en"_s}, {u"country"_s, u"US"_s},      {u"locale"_s, u"en-US"_s},
    {u"file"_s, u"F.cpp"_s},  {u"function"_s, u"-[C f]"_s}, {u"line"_s, u"7"_s},
};

const QString kTail =
    u", \"lang\": \"en\", \"country\": \"US\", \"locale\": \"en-US\", \"file\": \"F.cpp\", \"fn\": \"-[C f]\", "
    "\"line\": \"7\" }\r\n"_s;

class QNLoggerTest : public testing::Test {
protected:
    QNLoggerTest() {
        test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
        test::setSetting(u"kQNApplicationDataPathProd"_s, u"/Data"_s);
    }

    static QString directory() { return test::home() + u"/Data/Logs"_s; }
    static QString file() { return directory() + u"/install.log"_s; }
    // The log with each time and identifier shown by a letter; both must have their form.
    static QString log() {
        static const QRegularExpression time(u"\"time\": \"\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ\",\"ci\": "
                                             "\"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-8[0-9a-f]{3}-[0-9a-f]{12}\""_s);
        return QString::fromUtf8(test::readFile(file())).replace(time, u"T,C"_s);
    }
};

} // namespace

TEST_F(QNLoggerTest, WritesPlainEntriesWithTheirLevelWord) {
    QNLogger::debug(u"Config successful"_s, kContext);
    QNLogger::error(u"Error: x"_s, kContext);
    QNLogger::writeLog(u"NOTE"_s, u"own level"_s, kContext);
    EXPECT_EQ(log(), u"{ T,C, \"trace\": \"DEBUG\", \"message\":\" Config successful\""_s + kTail +
                         u"{ T,C, \"trace\": \"ERROR\", \"message\":\" Error: x\""_s + kTail +
                         u"{ T,C, \"trace\": \"NOTE\", \"message\":\" own level\""_s + kTail);
}

TEST_F(QNLoggerTest, WritesTheScreenThatIsShownAsADebugEntry) {
    QNLogger::showScreen(u"NoInternet"_s, kContext);
    EXPECT_EQ(log(), u"{ T,C, \"trace\": \"DEBUG\", \"message\":\" Show NoInternet screen\""_s + kTail);
}

TEST_F(QNLoggerTest, WritesAnEventWithItsOwnTimeAndIdentifier) {
    QNLogger::logEvent(uR"(2026-01-02T03:04:05Z ci=abc {"EVT":"Start"})"_s, kContext);
    QNLogger::writeEvent(u"XYZ"_s, uR"(T ci=d {})"_s, kContext);
    EXPECT_EQ(log(), u"{ \"time\": \"2026-01-02T03:04:05Z\",\"ci\": \"abc\", \"trace\": \"EVT\", "
                     "\"message\": {\"EVT\":\"Start\"}"_s +
                         kTail + u"{ \"time\": \"T\",\"ci\": \"d\", \"trace\": \"XYZ\", \"message\": {}"_s + kTail);
}

TEST_F(QNLoggerTest, RaisesForAMalformedEventTextBeforeAnyFileWork) {
    EXPECT_THROW(QNLogger::logEvent(u"Start"_s, kContext), PlatformException);
    EXPECT_THROW(QNLogger::logEvent(u"T1 ci {}"_s, kContext), PlatformException);
    EXPECT_FALSE(QFileInfo::exists(test::home() + u"/Data"_s));
}

TEST_F(QNLoggerTest, WritesUtf8) {
    QNLogger::debug(u"Größe \U0001F600"_s, kContext);
    EXPECT_TRUE(test::readFile(file()).contains("\" Gr\xC3\xB6\xC3\x9F"
                                                "e \xF0\x9F\x98\x80\""));
}

TEST_F(QNLoggerTest, WritesTheTimeOfTheZoneThatHoldsNow) {
    test::setEnvironment("TZ", "<xyz>-1");
    QNLogger::debug(u"m"_s, kContext);
    test::setEnvironment("TZ", "UTC");
    QNLogger::debug(u"m"_s, kContext);
    const QStringList lines = test::eventLog();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].contains(QRegularExpression(u"^\\{ \"time\": \"\\S+\\+01:00\",\"ci\""_s)));
    EXPECT_TRUE(lines[1].contains(QRegularExpression(u"^\\{ \"time\": \"\\S+Z\",\"ci\""_s)));
}

TEST_F(QNLoggerTest, OnlyAppendsToAnExistingFile) {
    test::writeFile(file(), "from an earlier run\r\n");
    QNLogger::debug(u"m"_s, kContext);
    EXPECT_EQ(log(), u"from an earlier run\r\n{ T,C, \"trace\": \"DEBUG\", \"message\":\" m\""_s + kTail);
}

TEST_F(QNLoggerTest, MakesTheFolderWithTheFoldersAboveIt) {
    test::setSetting(u"kQNApplicationDataPathProd"_s, u"/A/B c/D"_s);
    QNLogger::debug(u"m"_s, kContext);
    EXPECT_TRUE(QFileInfo(test::home() + u"/A/B c/D/Logs/install.log"_s).isFile());
}

TEST_F(QNLoggerTest, WritesBelowAHomeWhoseNameIsNoUtf8) {
    const std::filesystem::path home = test::folder().toStdString() + "/m\xFCller \xC3\xA4\xFF";
    std::filesystem::create_directory(home);
    test::setEnvironment("HOME", QByteArray::fromStdString(home.string()));
    QNLogger::debug(u"m"_s, kContext);
    EXPECT_TRUE(std::filesystem::is_regular_file(home / "Data/Logs/install.log"));
}

TEST_F(QNLoggerTest, FollowsTheEnvironmentsDataPathWithoutASeparator) {
    test::setInfo(u"QNEnv"_s, u"beta"_s);
    test::setSetting(u"kQNApplicationDataPathBeta"_s, u"-b&amp;d"_s);
    QNLogger::debug(u"m"_s, kContext);
    EXPECT_TRUE(QFileInfo(test::home() + u"-b&d/Logs/install.log"_s).isFile());
}

TEST_F(QNLoggerTest, LogsBelowAPathThatHoldsNullWithoutADataPath) {
    test::setSetting(u"kQNApplicationDataPathProd"_s, QVariant());
    QNLogger::debug(u"m"_s, kContext);
    EXPECT_TRUE(QFileInfo(test::home() + u"(null)/Logs/install.log"_s).isFile());
}

TEST_F(QNLoggerTest, TellsOnTheConsoleWhenTheFolderCannotBeMade) {
    test::writeFile(test::home() + u"/Data"_s, "in the way");
    QNLogger::debug(u"first, for the identifier"_s, kContext);
    const QStringList console = test::consoleLinesOf([] { QNLogger::error(u"lost"_s, kContext); });
    EXPECT_THAT(console, ElementsAre(u"MKDIR Error! Error Domain=NSCocoaErrorDomain Code=516 \"The folder “Logs” "
                                     "couldn’t be created.\" UserInfo={NSFilePath="_s +
                                     directory() + u"}"_s));
    EXPECT_EQ(test::readFile(test::home() + u"/Data"_s), "in the way");
}

TEST_F(QNLoggerTest, TellsOnTheConsoleWhenWritingRaises) {
    QDir().mkpath(directory());
    std::filesystem::create_symlink("/dev/full", file().toStdString());
    QNLogger::debug(u"first, for the identifier"_s, kContext);
    const QStringList console = test::consoleLinesOf([] {
        QNLogger::error(u"lost"_s, kContext);
        QNLogger::logEvent(u"T ci=a {}"_s, kContext);
    });
    const QString line = u"Write log error: *** -[NSConcreteFileHandle writeData:]: No space left on device"_s;
    EXPECT_THAT(console, ElementsAre(line, line)); // nothing is tried again
}

TEST_F(QNLoggerTest, LosesAnEntryWithoutAWordWhenTheFileCannotBeOpened) {
    QDir().mkpath(file()); // a folder: opening fails, creating fails, opening fails again
    QNLogger::debug(u"first, for the identifier"_s, kContext);
    EXPECT_THAT(test::consoleLinesOf([] { QNLogger::error(u"lost"_s, kContext); }), IsEmpty());
    EXPECT_TRUE(QDir(file()).isEmpty());
}

TEST_F(QNLoggerTest, MasksTheLoginNameInTheWholeLine) {
    const QString name = QString::fromLocal8Bit(getpwuid(getuid())->pw_name);
    ASSERT_FALSE(name.isEmpty());
    EXPECT_EQ(QNLogger::maskPIIDataInMessage(u"/Users/"_s + name + u"/x"_s + name), u"/Users/****/x****"_s);

    LogContext context = kContext;
    context[u"file"_s] = name + u".cpp"_s;
    context[u"function"_s] = u"-["_s + name + u" f]"_s;
    QNLogger::debug(u"in /home/"_s + name + u"/Downloads"_s, context);
    QNLogger::logEvent(u"T ci=a {\"URL\":\""_s + name + u"\"}"_s, context);
    EXPECT_FALSE(log().contains(name)) << log().toStdString();
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"in /home/****/Downloads"_s, u"{\"URL\":\"****\"}"_s));
    EXPECT_EQ(log().count(u"\"file\": \"****.cpp\", \"fn\": \"-[**** f]\""_s), 2);
}

TEST_F(QNLoggerTest, NeverChangesTheFolderInTheEntrysPath) {
    // The name is masked in what is written, not in where it is written.
    const QString name = QString::fromLocal8Bit(getpwuid(getuid())->pw_name);
    test::setSetting(u"kQNApplicationDataPathProd"_s, u"/of "_s + name);
    QNLogger::debug(u"m"_s, kContext);
    EXPECT_TRUE(QFileInfo(test::home() + u"/of "_s + name + u"/Logs/install.log"_s).isFile());
}

TEST_F(QNLoggerTest, LeavesTheFilesModeToTheUsersMask) {
    umask(027);
    QNLogger::debug(u"m"_s, kContext);
    struct stat status {};
    ASSERT_EQ(stat(file().toUtf8().constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}
