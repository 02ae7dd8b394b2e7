#include "config/JSONReader.h"
#include "config/QNConfig.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

QNConfig modelOf(const QByteArray& json) {
    return QNConfig(JSONReader::read(json).value.value().toMap());
}

QStringList consoleOf(const QByteArray& json) {
    return test::consoleLinesOf([&] { modelOf(json); });
}

const QByteArray kActiveInstall = R"("userAction":[{"action":"install","isActive":"1"}])";

QNConfig modelWithSoftware(const QByteArray& software) {
    return modelOf("{" + kActiveInstall + ",\"software\":" + software + "}");
}

} // namespace

TEST(Config, TakesEveryFieldOfAnInstallation) {
    const QNConfig config = modelOf(R"({
        "analyticsUrl": "https://h/a",
        "userAction": [{"action": "install", "isActive": "1", "actionUrl": "https://h/u",
                        "actionDescription": "d", "customParam": "p"}],
        "software": [{"IsActive": "1", "macUrl": "https://h/a.dmg", "winUrl": "https://h/a.exe", "appName": "Sample",
                      "appShortName": "S", "commandLineArgs": "--a \"b c\""}]})");
    EXPECT_EQ(config.analyticsURL(), u"https://h/a"_s);
    EXPECT_EQ(config.defaultAction(), u"install"_s);
    EXPECT_EQ(config.actionUrl(), u"https://h/u"_s);
    EXPECT_EQ(config.actionDescription(), u"d"_s);
    EXPECT_EQ(config.customParam(), u"p"_s);
    EXPECT_EQ(config.latestMacURL(), u"https://h/a.dmg"_s);
    EXPECT_EQ(config.latestWinURL(), u"https://h/a.exe"_s);
    EXPECT_EQ(config.appName(), u"Sample"_s);
    EXPECT_EQ(config.appShortName(), u"S"_s);
    EXPECT_EQ(config.commandLineArgs(), u"--a \"b c\""_s);
    EXPECT_EQ(config.userActionList()->size(), 1);
    EXPECT_EQ(config.softwareList()->size(), 1);
}

TEST(Config, LeavesEverythingAbsentForAnEmptyDocument) {
    const QNConfig config = modelOf("{}");
    EXPECT_EQ(config.userActionList(), std::nullopt);
    EXPECT_EQ(config.softwareList(), std::nullopt);
    for (const auto& text : {config.defaultAction(), config.actionUrl(), config.actionDescription(),
                             config.customParam(), config.latestMacURL(), config.latestWinURL(), config.appName(),
                             config.appShortName(), config.analyticsURL(), config.commandLineArgs()}) {
        EXPECT_EQ(text, std::nullopt);
    }
}

TEST(Config, TakesTheFirstActiveUserAction) {
    const QNConfig config = modelOf(R"({"userAction":[
        {"action":"a","isActive":"0","actionUrl":"1"}, {"action":"b","actionUrl":"2"},
        {"action":"c","isActive":"1"}, {"action":"d","isActive":"1","actionUrl":"4"}]})");
    EXPECT_EQ(config.defaultAction(), u"c"_s);
    EXPECT_EQ(config.actionUrl(), std::nullopt); // not taken from a later entry
    EXPECT_EQ(config.userActionList()->size(), 4);
}

TEST(Config, WritesEachActionToTheConsoleUpToTheFirstActiveOne) {
    EXPECT_THAT(consoleOf(R"({"userAction":[{"action":"a"},{"isActive":"0"},{"action":"c","isActive":"1"},
                                            {"action":"d","isActive":"1"}]})"),
                ElementsAre(u"action: a"_s, u"action: (null)"_s, u"action: c"_s));
    EXPECT_THAT(consoleOf(R"({"userAction":[{"action":"a"},{"action":"b"}]})"),
                ElementsAre(u"action: a"_s, u"action: b"_s));
    EXPECT_THAT(consoleOf(R"({"userAction":[]})"), IsEmpty());
}

TEST(Config, WritesNothingToTheConsoleForSoftware) {
    EXPECT_THAT(consoleOf("{" + kActiveInstall + R"(,"software":[{"action":"x","IsActive":"1"}]})"),
                ElementsAre(u"action: install"_s));
}

TEST(Config, KnowsNoActionWhenNoneIsActive) {
    const QNConfig config = modelOf(R"({"userAction":[{"action":"install","isActive":"0","actionUrl":"u"}],
                                        "software":[{"IsActive":"1","macUrl":"m"}]})");
    EXPECT_EQ(config.defaultAction(), std::nullopt);
    EXPECT_EQ(config.actionUrl(), std::nullopt);
    EXPECT_EQ(config.softwareList(), std::nullopt);
    EXPECT_EQ(config.latestMacURL(), std::nullopt);
}

TEST(Config, TellsTheTwoActivityKeysApart) {
    EXPECT_EQ(
        modelOf(R"({"userAction":[{"action":"a","IsActive":"1"},{"action":"b","isActive":"1"}]})").defaultAction(),
        u"b"_s);
    EXPECT_EQ(modelWithSoftware(R"([{"isActive":"1","macUrl":"a"},{"IsActive":"1","macUrl":"b"}])").latestMacURL(),
              u"b"_s);
}

TEST(Config, TakesNothingButTheTextOneForActive) {
    for (const char* value :
         {"1", "true", "null", "1.0", "\"0\"", "\"true\"", "\" 1\"", "\"01\"", "\"\"", "[\"1\"]", "{\"1\":\"1\"}"}) {
        const QByteArray action = QByteArray(R"([{"action":"a","isActive":)") + value + "}]";
        EXPECT_EQ(modelOf("{\"userAction\":" + action + "}").defaultAction(), std::nullopt) << value;
        const QByteArray software = QByteArray(R"([{"macUrl":"m","IsActive":)") + value + "}]";
        EXPECT_EQ(modelWithSoftware(software).latestMacURL(), std::nullopt) << value;
    }
}

TEST(Config, ReadsSoftwareForExactlyInstallOnly) {
    for (const char* action : {"update", "Install", "install ", "openLink", ""}) {
        const QNConfig config = modelOf(QByteArray(R"({"userAction":[{"isActive":"1","action":")") + action +
                                        R"("}],"software":[{"IsActive":"1","macUrl":"m"}]})");
        EXPECT_EQ(config.defaultAction(), QString::fromLatin1(action));
        EXPECT_EQ(config.softwareList(), std::nullopt) << action;
        EXPECT_EQ(config.latestMacURL(), std::nullopt) << action;
    }
}

TEST(Config, EndsWithTheActiveActionAlsoWhenItNamesNone) {
    const QNConfig config = modelOf(R"({"userAction":[{"isActive":"1"},{"action":"install","isActive":"1"}]})");
    EXPECT_EQ(config.defaultAction(), std::nullopt);
}

TEST(Config, TakesTheFirstActiveSoftware) {
    const QNConfig config = modelWithSoftware(R"([{"macUrl":"a","IsActive":"0"},{"winUrl":"w","IsActive":"1"},
                                                  {"macUrl":"c","IsActive":"1"}])");
    EXPECT_EQ(config.latestWinURL(), u"w"_s);
    EXPECT_EQ(config.latestMacURL(), std::nullopt);
    EXPECT_EQ(config.softwareList()->size(), 3);
}

TEST(Config, IsAnInstallationWithoutAnAddressWhenSoftwareIsMissing) {
    const QNConfig config = modelOf("{" + kActiveInstall + "}");
    EXPECT_EQ(config.defaultAction(), u"install"_s);
    EXPECT_EQ(config.softwareList(), std::nullopt);
    EXPECT_EQ(config.latestMacURL(), std::nullopt);
}

TEST(Config, TakesValuesThatAreNoTextForAbsent) {
    const QNConfig config = modelOf(R"({"analyticsUrl":5,"userAction":[{"isActive":"1","action":"install",
        "actionUrl":null,"actionDescription":true,"customParam":{}}],
        "software":[{"IsActive":"1","macUrl":["m"],"commandLineArgs":["-a"]}]})");
    for (const auto& text : {config.analyticsURL(), config.actionUrl(), config.actionDescription(),
                             config.customParam(), config.latestMacURL(), config.commandLineArgs()}) {
        EXPECT_EQ(text, std::nullopt);
    }
    EXPECT_EQ(modelOf(R"({"userAction":[{"isActive":"1","action":1}]})").defaultAction(), std::nullopt);
}

TEST(Config, KeepsEmptyTextApartFromAbsent) {
    EXPECT_EQ(modelOf(R"({"analyticsUrl":""})").analyticsURL(), u""_s);
}

TEST(Config, SkipsListEntriesThatAreNoObjectsAndListsThatAreNone) {
    EXPECT_EQ(
        modelOf(R"({"userAction":[null,1,"isActive",["isActive","1"],{"action":"a","isActive":"1"}]})").defaultAction(),
        u"a"_s);
    for (const char* list : {"null", "1", "\"1\"", "{\"isActive\":\"1\"}"}) {
        EXPECT_EQ(modelOf(QByteArray("{\"userAction\":") + list + "}").userActionList(), std::nullopt) << list;
    }
    EXPECT_EQ(modelWithSoftware(R"([5,{"IsActive":"1","macUrl":"m"}])").latestMacURL(), u"m"_s);
    EXPECT_EQ(modelWithSoftware(R"({"IsActive":"1","macUrl":"m"})").latestMacURL(), std::nullopt);
}

TEST(Config, HasASetterForEachField) {
    QNConfig config = modelOf("{}");
    config.setUserActionList(QVariantList{1});
    config.setDefaultAction(u"1"_s);
    config.setActionUrl(u"2"_s);
    config.setActionDescription(u"3"_s);
    config.setCustomParam(u"4"_s);
    config.setSoftwareList(QVariantList{2});
    config.setLatestMacURL(u"5"_s);
    config.setLatestWinURL(u"6"_s);
    config.setAppName(u"7"_s);
    config.setAppShortName(u"8"_s);
    config.setAnalyticsURL(u"9"_s);
    config.setCommandLineArgs(u"10"_s);
    EXPECT_EQ(config.userActionList(), QVariantList{1});
    EXPECT_EQ(config.softwareList(), QVariantList{2});
    EXPECT_EQ(config.defaultAction(), u"1"_s);
    EXPECT_EQ(config.actionUrl(), u"2"_s);
    EXPECT_EQ(config.actionDescription(), u"3"_s);
    EXPECT_EQ(config.customParam(), u"4"_s);
    EXPECT_EQ(config.latestMacURL(), u"5"_s);
    EXPECT_EQ(config.latestWinURL(), u"6"_s);
    EXPECT_EQ(config.appName(), u"7"_s);
    EXPECT_EQ(config.appShortName(), u"8"_s);
    EXPECT_EQ(config.analyticsURL(), u"9"_s);
    EXPECT_EQ(config.commandLineArgs(), u"10"_s);
}
