#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/BundleCheck.h"
#include "tools/qn-portal/check/Settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace portal::check::test {

namespace {

void write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
}

QByteArray goodInfo() {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
  <key>CFBundleDevelopmentRegion</key><string>en</string>
  <key>CFBundleExecutable</key><string>Installer</string>
  <key>CFBundleIdentifier</key><string>net.kit-portal.installer</string>
  <key>CFBundleShortVersionString</key><string>1.0</string>
  <key>CFBundleURLTypes</key><array><dict><key>CFBundleURLSchemes</key><array><string>kitd</string></array></dict></array>
  <key>QNEnv</key><string>prod</string>
  <key>QNConfig</key><dict>
    <key>QNPortalType</key><string>kit</string>
    <key>DEV1_URL</key><string>https://dev1.kit-portal.net/c.json</string>
    <key>QA1_URL</key><string>https://qa1.kit-portal.net/c.json</string>
    <key>BETA_URL</key><string>https://beta.kit-portal.net/c.json</string>
    <key>PRODUCTION_URL</key><string>https://www.kit-portal.net/c.json?a=1&amp;amp;b=2</string>
    <key>kQNApplicationDataPathDev1</key><string>/Library/Kit Dev1</string>
    <key>kQNApplicationDataPathQA1</key><string>/Library/Kit QA1</string>
    <key>kQNApplicationDataPathBeta</key><string>/Library/Kit Beta</string>
    <key>kQNApplicationDataPathProd</key><string>/Library/Kit</string>
    <key>kAPP_NAME</key><string>Kit</string>
    <key>AnalyticsProductName</key><string>KitInstaller</string>
    <key>PRIMARY_COLOR</key><string>#1F3FBB</string>
    <key>SECONDARY_COLOR</key><string>#57606A</string>
    <key>BG_COLOR</key><string>#FFFFFF</string>
    <key>visitOnlineHelpSiteUrl</key><string>https://www.kit-portal.net/help</string>
    <key>downloadAndInstallLatestVersionUrl</key><string>https://www.kit-portal.net/get</string>
    <key>clickHereUrl</key><string>https://www.kit-portal.net/mac</string>
  </dict>
</dict></plist>
)";
}

QByteArray goodStrings() {
    QByteArray text;
    for (const std::string_view key : textKeys()) {
        text += "\"" + QByteArray(key.data(), static_cast<qsizetype>(key.size())) + "\" = \"Wort\";\n";
    }
    return text;
}

void makeExecutable(const QString& path, bool can) {
    const auto readable = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    QFile::setPermissions(path, can ? readable | QFileDevice::ExeOwner : readable);
}

void writeGoodBundle(const QString& path) {
    write(path + u"/Contents/Info.plist"_s, goodInfo());
    write(path + u"/Contents/MacOS/Installer"_s, "#!/bin/sh\n");
    makeExecutable(path + u"/Contents/MacOS/Installer"_s, true);
    const QString resources = path + u"/Contents/Resources/"_s;
    for (const std::string_view language : languages()) {
        const QString name = QString::fromUtf8(language.data(), static_cast<qsizetype>(language.size()));
        write(resources + name + u".lproj/Localizable.strings"_s, goodStrings());
    }
    for (const QString& name :
         {u"Base.lproj/MainMenu.ui"_s, u"Base.lproj/QNMainController.ui"_s, u"Base.lproj/QNErrorController.ui"_s,
          u"Base.lproj/QNAlertController.ui"_s, u"unmount.sh"_s, u"no_internet.png"_s,
          u"install_failed_block_img.png"_s, u"window_close.png"_s, u"connecting_Spinner.png"_s}) {
        write(resources + name, "x");
    }
}

// A bundle with nothing wrong.
class KitBundle {
public:
    KitBundle() { writeGoodBundle(folder_.filePath(u"Kit.app"_s)); }

    QString path(const QString& name) const { return folder_.filePath(u"Kit.app/"_s + name); }
    QString strings(const QString& language) const {
        return path(u"Contents/Resources/%1.lproj/Localizable.strings"_s.arg(language));
    }
    void setExecutable(bool can) const { makeExecutable(path(u"Contents/MacOS/Installer"_s), can); }
    void check(Findings& findings) const {
        static_cast<void>(checkBundle(findings, folder_.filePath(u"Kit.app"_s), false));
    }

private:
    QTemporaryDir folder_;
};

Case with(const char* code, const std::function<void(const KitBundle&)>& change) {
    return {code, [change](Findings& findings) {
                const KitBundle bundle;
                change(bundle);
                bundle.check(findings);
            }};
}

Case replaced(const char* code, const QByteArray& from, const QByteArray& to) {
    return with(code, [from, to](const KitBundle& bundle) {
        QByteArray info = goodInfo();
        ASSERT_EQ(info.count(from), 1) << from.toStdString();
        write(bundle.path(u"Contents/Info.plist"_s), info.replace(from, to));
    });
}

Case withStrings(const char* code, const QByteArray& from, const QByteArray& to) {
    return with(
        code, [from, to](const KitBundle& bundle) { write(bundle.strings(u"de"_s), goodStrings().replace(from, to)); });
}

std::vector<Case> settingCases() {
    return {
        with("bundle-no-info", [](const KitBundle& bundle) { QFile::remove(bundle.path(u"Contents/Info.plist"_s)); }),
        replaced("bundle-no-settings", "<key>QNConfig</key>", "<key>Config</key>"),
        replaced("bundle-missing-setting", "<key>kAPP_NAME</key><string>Kit</string>", ""),
        replaced("bundle-misspelt-setting", "BG_COLOR", "BG_COLOUR"),
        replaced("bundle-misplaced-setting", "<key>QNPortalType</key>",
                 "<key>QNEnv</key><string>qa1</string><key>QNPortalType</key>"),
        replaced("bundle-unknown-setting", "<key>QNPortalType</key>",
                 "<key>Fancy</key><string>1</string><key>QNPortalType</key>"),
        replaced("bundle-setting-type", "<string>Kit</string>", "<array/>"),
        replaced("bundle-environment", "<string>prod</string>", "<string>QA1</string>"),
        replaced("bundle-data-path", "<string>/Library/Kit</string>", "<string>Library/Kit</string>"),
        replaced("bundle-shared-path", "/Library/Kit Beta", "/Library/Kit QA1"),
        replaced("bundle-shared-address", "https://beta.", "https://qa1."),
        replaced("bundle-color", "#57606A", "#57606"),
        replaced("bundle-color-digits", "#57606A", "#57606X"),
        replaced("bundle-contrast", "#57606A", "#A0A0A0"),
        replaced("bundle-scheme", "<string>kitd</string>", "<string>kit</string>"),
        replaced("bundle-identifier", "net.kit-portal.installer", "Kit Installer"),
        replaced("bundle-version", "<key>CFBundleShortVersionString</key><string>1.0</string>", ""),
        replaced("bundle-development-language", "<string>en</string>", "<string>ga</string>"),
        replaced("bundle-no-program", "<string>Installer</string>", "<string>installer2</string>"),
        with("bundle-program-not-executable", [](const KitBundle& bundle) { bundle.setExecutable(false); }),
    };
}

std::vector<Case> resourceCases() {
    return {
        with("bundle-missing-resource",
             [](const KitBundle& bundle) { QFile::remove(bundle.path(u"Contents/Resources/no_internet.png"_s)); }),
        with("bundle-language-missing", [](const KitBundle& bundle) { QFile::remove(bundle.strings(u"da"_s)); }),
        with("bundle-strings-damaged",
             [](const KitBundle& bundle) { write(bundle.strings(u"de"_s), "\"MessageRetry\" = \"Nochmal"); }),
        withStrings("bundle-text-missing", "\"QNYes\" = \"Wort\";", ""),
        withStrings("bundle-text-unknown", "\"QNYes\"", "\"QNyes\""),
        withStrings("bundle-text-empty", "\"QNYes\" = \"Wort\";", "\"QNYes\" = \"\";"),
    };
}

} // namespace

void checkGoodBundle(Findings& findings) {
    KitBundle().check(findings);
}

std::vector<Case> bundleCases() {
    std::vector<Case> all = settingCases();
    const auto more = resourceCases();
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace portal::check::test
