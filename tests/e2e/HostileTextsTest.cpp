#include "tests/e2e/InstallerRun.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

// Every text that a server, an image, a setting or a tool supplies, once with each of the texts that programs stumble
// over. The run has to end in order, with the text in its log as the format says (nothing is escaped there, and nothing
// is filled in twice), and with nothing outside its own folders.

namespace {

struct Text {
    const char* name;
    QString value;
};

// A source of texts: how the run gets it, and what the log then says of it, {} being the text.
struct Source {
    const char* name;
    void (*supply)(InstallerRun&, const QString&);
    const char* logged;
};

const std::vector<Text>& texts() {
    static const std::vector<Text> kTexts{
        {"FormatCharacters", u"%@ %s %n %d %5$x %% %"_s},
        {"LineEnds", u"one\r\ntwo\nthree\r"_s},
        {"Nul", u"before"_s + QChar(u'\0') + u"after"_s},
        {"Bidirectional", u"\u202egpj.exe\u2066\u200f\u2069 \u05e9"_s},
        {"Kilobytes64", QString(65536, u'k')},
        {"Markup", u"<b>&amp;\"'</b><a href=\"file:///etc/passwd\">\\n"_s},
    };
    return kTexts;
}

QByteArray json(const QString& text) {
    const QByteArray object = QJsonDocument(QJsonObject{{u"t"_s, text}}).toJson(QJsonDocument::Compact);
    return object.mid(5, object.size() - 6);
}

// A document in which each named value is this one.
QByteArray document(InstallerRun& run, const QByteArray& key, const QString& text,
                    const QByteArray& action = "install") {
    const auto value = [&](const QByteArray& name, const QByteArray& usual) {
        return "\"" + name + "\": " + (name == key ? json(text) : "\"" + usual + "\"");
    };
    const QByteArray base = run.address({}).toUtf8();
    return "{" + value("analyticsUrl", base + "/analytics") + ", \"userAction\": [{\"isActive\": \"1\", " +
           value("action", action) + ", " + value("actionUrl", "https://www.example.com/") + ", " +
           value("customParam", "ask") + "}], \"software\": [{\"IsActive\": \"1\", " +
           value("macUrl", base + "/files/Kit.dmg") + ", " + value("appName", "Kit Studio") + ", " +
           value("commandLineArgs", "--a --b") + "}]}";
}

loopback::Reply missingImage() {
    return loopback::replyWithStatus(404, "not here");
}

void supplySetting(InstallerRun& run, const QString& key, const QString& text) {
    QVariantMap settings = test::infoPlist().value(u"QNConfig"_s).toMap();
    settings.insert(key, text);
    run.setInfo(u"QNConfig"_s, settings);
    run.expectConfiguration("no json");
}

// The run stops at the image, which is not there.
void supplyOfDocument(InstallerRun& run, const char* key, const QString& text) {
    run.expectConfiguration(document(run, key, text));
    run.portal().expect("GET /files/Kit.dmg", missingImage());
    run.expectAnalytics();
}

// What a tool prints. One that prints more than a pipe holds waits for ever: nobody reads before it has ended.
void putPrinted(const InstallerRun& run, const QString& output) {
    constexpr qsizetype kWithinAPipe = 60000;
    test::writeFile(run.folder() + u"/printed"_s, output.toUtf8().left(kWithinAPipe));
}

void supplyTool(InstallerRun& run, const QString& output) {
    putPrinted(run, output);
    run.putSystemTool(u"/usr/bin/hdiutil"_s, "exec cat '" + run.folder().toUtf8() + "/printed'\n");
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s));
    run.portal().expect("GET /files/Kit.dmg", loopback::replyWith("any bytes", "application/octet-stream"));
    run.expectAnalytics();
}

const std::vector<Source>& sources() {
    using R = InstallerRun&;
    using T = const QString&;
    static const std::vector<Source> kSources{
        {"ApplicationName", [](R run, T text) { supplyOfDocument(run, "appName", text); }, "Config successful. Took"},
        {"Arguments", [](R run, T text) { supplyOfDocument(run, "commandLineArgs", text); }, "Config successful. Took"},
        {"Action",
         [](R run, T text) {
             run.expectConfiguration(document(run, "action", text));
             run.expectAnalytics();
         },
         "Config successful. Took"},
        {"ImageAddress",
         [](R run, T text) {
             run.expectConfiguration(document(run, "macUrl", u"http://h/"_s + text + u".dmg"_s));
             run.expectAnalytics();
         },
         "Download started: http://h/{}.dmg"},
        {"LinkParameter",
         [](R run, T text) {
             run.expectConfiguration(document(run, "customParam", text, "openLink"));
             run.expectAnalytics();
         },
         "Show generic download screen."},
        {"LinkAddress",
         [](R run, T text) {
             run.expectConfiguration(document(run, "actionUrl", text, "openLink"));
             run.expectAnalytics();
         },
         "Show generic download screen."},
        {"AnalyticsAddress",
         [](R run, T text) { run.expectConfiguration(document(run, "analyticsUrl", text, "openLink")); },
         "Show generic download screen."},
        {"SettingOfTheName", [](R run, T text) { supplySetting(run, u"kAPP_NAME"_s, text); }, "{} start."},
        {"SettingOfTheProduct", [](R run, T text) { supplySetting(run, u"AnalyticsProductName"_s, text); },
         "Show generic error screen."},
        {"SettingOfALink", [](R run, T text) { supplySetting(run, u"clickHereUrl"_s, text); },
         "Show generic error screen."},
        {"SettingOfAColour", [](R run, T text) { supplySetting(run, u"PRIMARY_COLOR"_s, text); },
         "Show generic error screen."},
        {"SettingOfTheVersion",
         [](R run, T text) {
             run.setInfo(u"CFBundleShortVersionString"_s, text);
             run.expectConfiguration("no json");
         },
         "Show generic error screen."},
        {"MountTable", [](R run, T text) { supplyTool(run, u"/dev/disk4\t/Volumes/"_s + text + u'\n'); },
         "Running command: /usr/bin/hdiutil attach"},
        {"MountTableWithoutVolume", [](R run, T text) { supplyTool(run, u"/dev/disk4\t"_s + text + u'\n'); },
         "Unmount DMG error: *** -[__NSCFString substringFromIndex:]"},
        {"InterfaceList",
         [](R run, T text) {
             putPrinted(run, text);
             run.putSystemTool(u"/sbin/ifconfig"_s, "exec cat '" + run.folder().toUtf8() + "/printed'\n");
             run.expectConfiguration("no json");
         },
         "Show generic error screen."},
        {"HardwareProfile",
         [](R run, T text) {
             putPrinted(run, u"Processor Name: "_s + text);
             run.putSystemTool(u"/usr/sbin/system_profiler"_s, "exec cat '" + run.folder().toUtf8() + "/printed'\n");
             run.expectConfiguration("no json");
         },
         "Show generic error screen."},
        {"SystemRelease",
         [](R run, T text) {
             run.putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"" + text.toUtf8() + "\"\n");
             run.expectConfiguration("no json");
         },
         "Show generic error screen."},
    };
    return kSources;
}

void PrintTo(const Text& text, std::ostream* out) {
    *out << text.name;
}

void PrintTo(const Source& source, std::ostream* out) {
    *out << source.name;
}

class HostileText : public testing::TestWithParam<std::tuple<Source, Text>> {};

std::string nameOf(const testing::TestParamInfo<std::tuple<Source, Text>>& row) {
    return std::string(std::get<0>(row.param).name) + "With" + std::get<1>(row.param).name;
}

bool waitsFor(InstallerRun& run, const QByteArray& logged) {
    return test::waitFor([&] { return run.hasEnded() || test::readFile(run.logPath()).contains(logged); });
}

} // namespace

TEST_P(HostileText, EndsInOrderAndShowsInTheLogAsItIs) {
    const auto& [source, text] = GetParam();
    InstallerRun run;
    run.setEnvironment(u"LANG"_s, u"en_US.UTF-8"_s);
    // No property list holds that.
    const QString value =
        QByteArray(source.name).startsWith("Setting") ? QString(text.value).remove(QChar(u'\0')) : text.value;
    source.supply(run, value);
    run.start();
    const QByteArray logged = QByteArray(source.logged).replace("{}", value.toUtf8());
    EXPECT_TRUE(waitsFor(run, "\"message\":\" " + logged));
    if (!run.hasEnded()) {
        run.askToEnd();
    }
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    const QByteArray log = test::readFile(run.logPath());
    EXPECT_TRUE(log.contains("\"message\":\" " + logged)) << log.left(5000).toStdString();
    EXPECT_TRUE(log.endsWith("\" }\r\n"));
    EXPECT_FALSE(log.contains("CRASH REASON")) << log.right(2000).toStdString();
    static const QStringList kOwn{u"runtime/com.example.e2e.copies"_s, u"tmp/com.example.e2e-UID/Kit.dmg"_s};
    for (const QString& left : run.leftovers()) {
        EXPECT_TRUE(kOwn.contains(left)) << left.toStdString();
    }
    static_cast<void>(run.portal().takeProblems()); // which requests come is the business of other tests
}

INSTANTIATE_TEST_SUITE_P(EverySource, HostileText,
                         testing::Combine(testing::ValuesIn(sources()), testing::ValuesIn(texts())), nameOf);

// Names of files: what a server, an image and a setting may call them.

class HostileFileName : public testing::TestWithParam<Text> {};

TEST_P(HostileFileName, OfTheServerBecomesOneNameInTheDownloadFolder) {
    InstallerRun run;
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s));
    loopback::Reply image = loopback::replyWith("no image", "application/octet-stream");
    image.headers.emplace_back("Content-Disposition",
                               "attachment; filename*=UTF-8''..%2F..%2F" +
                                   GetParam().value.left(2000).toUtf8().toPercentEncoding().toStdString());
    run.portal().expect("GET /files/Kit.dmg", image);
    run.expectAnalytics();
    run.start();
    EXPECT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    const QStringList files = QDir(run.temporaryFolder()).entryList(QDir::Files | QDir::Hidden);
    ASSERT_EQ(files.size(), 1);
    EXPECT_TRUE(files[0].startsWith(u".._.._"_s)) << files[0].toStdString();
    EXPECT_EQ(run.leftovers().size(), 2);
}

TEST_P(HostileFileName, OfAnImageIsRunOrRefusedAndNothingLeavesTheVolume) {
    InstallerRun run;
    const QString name = QString(GetParam().value).remove(QChar(u'\0')).remove(u'/').left(100);
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s));
    const QByteArray image = diskImage(u"Kit Setup"_s, sampleInstaller(name));
    run.portal().expect("GET /files/Kit.dmg", loopback::replyWith(image.toStdString(), "application/octet-stream"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    EXPECT_EQ(test::readFile(run.folder() + u"/home/installer-arguments"_s), "argument: --a --b\n");
    EXPECT_TRUE(test::readFile(run.logPath()).contains("Running Installer: \"/Volumes/Kit Setup/"));
    EXPECT_EQ(run.leftovers(),
              (QStringList{u"runtime/com.example.e2e.copies"_s, u"tmp/com.example.e2e-UID/Kit.dmg"_s}));
}

INSTANTIATE_TEST_SUITE_P(EachText, HostileFileName, testing::ValuesIn(texts()),
                         [](const auto& row) { return std::string(row.param.name); });
