#include "hdiutil/front/Create.h"
#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/CheckRun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <map>

using namespace Qt::StringLiterals;

namespace portal::check::test {

namespace {

void write(const QString& path, const QByteArray& bytes, bool isProgram) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
    const auto readable = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    file.setPermissions(isProgram ? readable | QFileDevice::ExeOwner : readable);
}

struct Change {
    const char* good;
    const char* bad;
    const char* code; // empty: found already under another
};

// Mistakes in the configuration, in the application of the image, and in the bundle's settings.
const std::vector<Change> kInConfiguration{
    {"\"analyticsUrl\"", "\"analyticsURL\"", "config-misspelt-key"},
    {"\"isActive\": \"1\"}]", "\"isActive\": \"1\"},]", "json-trailing-comma"},
    {"\"IsActive\": \"1\",", "\"IsActive\": \"1\" ,\"isActive\": \"1\",", "config-unknown-key"},
    {"\"action\": \"install\"", "\"action\": \"install\", \"customparam\": \"\"", "config-misspelt-key"},
    {"/kit/Kit.dmg", "/kit set/Kit.dmg", "address-malformed"},
    {"\"--quiet\"", "[\"--quiet\"]", "config-argument-list"},
    {"\"appName\": \"Kit\"", "\"appName\": \"Kit \"", "config-blanks-around"},
    {"\"appShortName\": \"K\"", "\"appShortName\": 'K'", "json-quotes"},
};
const std::vector<Change> kInApplication{
    {"<key>CFBundleIdentifier</key>", "<key>CFBundleIdentifer</key>", "image-no-identifier"},
    {"#!/bin/sh", "!/bin/sh", "image-not-a-program"},
};
const std::vector<Change> kInBundle{
    {"<string>prod</string>", "<string>Beta</string>", "bundle-environment"},
    {"<key>kAPP_NAME</key><string>Kit</string>", "", "bundle-missing-setting"},
    {"SECONDARY_COLOR</key><string>#57606A", "SECONDARY_COLOR</key><string>#A0A0A0", "bundle-contrast"},
    {"<key>BG_COLOR</key>", "<key>BG_COLOUR</key>", "bundle-misspelt-setting"},
    {"#1F3FBB", "#1F3FB", "bundle-color"},
    {"<string>/Library/Kit</string>", "<string>Library/Kit</string>", "bundle-data-path"},
    {"<string>/Library/Kit QA1</string>", "<string>/Library/Kit Dev1</string>", "bundle-shared-path"},
    {"https://beta.kit-portal.net", "http://beta.kit-portal.net", "address-without-tls"},
    {"<string>kitd</string>", "<string>kit</string>", "bundle-scheme"},
    {"https://www.kit-portal.net/help", "https://www.example.com/help", "config-placeholder"},
};

QByteArray changed(QByteArray text, const std::vector<Change>& changes, bool isBad) {
    for (const Change& change : changes) {
        EXPECT_EQ(text.count(change.good), 1) << change.good;
        if (isBad) {
            text.replace(change.good, change.bad);
        }
    }
    return text;
}

const QByteArray kConfiguration = R"({
  "analyticsUrl": "https://collect.kit-portal.net/lines",
  "userAction": [{"action": "install", "isActive": "1"}],
  "software": [{"IsActive": "1", "macUrl": "https://downloads.kit-portal.net/kit/Kit.dmg",
                "appName": "Kit", "appShortName": "K", "commandLineArgs": "--quiet"}]
}
)";

const QByteArray kApplication = R"(<?xml version="1.0"?><plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>Kit</string><key>CFBundleIdentifier</key><string>net.kit-portal.kit</string>
</dict></plist>#!/bin/sh
exit 0
)";

// A portal's folder: configuration, image and bundle.
class PortalFolder {
public:
    explicit PortalFolder(bool isBad) {
        write(path(u"portal/config.json"_s), changed(kConfiguration, kInConfiguration, isBad), false);
        writeImage(isBad);
        writeBundle(isBad);
    }

    QString path(const QString& name) const { return folder_.filePath(name); }

private:
    void writeImage(bool isBad) const {
        const QByteArray application = changed(kApplication, kInApplication, isBad);
        const qsizetype script = application.indexOf("</plist>") + 8;
        write(path(u"volume/Kit.app/Contents/Info.plist"_s), application.left(script), false);
        write(path(u"volume/Kit.app/Contents/MacOS/Kit"_s), application.mid(script), true);
        hdi::CreateOptions options;
        options.sourceFolder = path(u"volume"_s).toStdString();
        options.volumeName = "Kit";
        static_cast<void>(hdi::createImage(options, path(u"portal/Kit.dmg"_s).toStdString()));
    }

    void writeBundle(bool isBad) const {
        writeGoodBundle(path(u"portal/Kit Installer.app"_s));
        const QString info = path(u"portal/Kit Installer.app/Contents/Info.plist"_s);
        QFile file(info);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        file.close();
        write(info, changed(text, kInBundle, isBad), false);
    }

    QTemporaryDir folder_;
};

CheckReport check(const PortalFolder& folder) {
    CheckOptions options;
    options.targets = QStringList{folder.path(u"portal"_s)};
    options.isOffline = true;
    return runChecks(options);
}

std::multiset<std::string> planted() {
    std::multiset<std::string> codes;
    for (const auto& changes : {kInConfiguration, kInApplication, kInBundle}) {
        for (const Change& change : changes) {
            codes.insert(change.code);
        }
    }
    return codes;
}

std::multiset<std::string> found(const CheckReport& report) {
    std::multiset<std::string> codes;
    for (const Finding& finding : report.findings.all()) {
        codes.emplace(finding.rule->code);
    }
    return codes;
}

TEST(PortalFolderWithTwentyMistakes, HasAllOfThemFoundAndNothingElse) {
    ASSERT_EQ(planted().size(), 20U);
    const CheckReport report = check(PortalFolder(true));
    // A misspelt analyticsUrl is none: that is told as well, and belongs to the first mistake.
    std::multiset<std::string> expected = planted();
    expected.insert("config-no-analytics");
    EXPECT_EQ(found(report), expected);
    EXPECT_EQ(statusOf(report, false), 1);
}

TEST(PortalFolderWithTwentyMistakes, IsCleanOnceTheyAreMended) {
    const CheckReport report = check(PortalFolder(false));
    EXPECT_TRUE(found(report).empty()) << *found(report).begin();
    EXPECT_EQ(report.checked, 3);
    EXPECT_EQ(statusOf(report, true), 0);
}

} // namespace

} // namespace portal::check::test
