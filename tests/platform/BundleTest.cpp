#include "platform/Bundle.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

QByteArray plistWith(const QByteArray& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries + "</dict></plist>\n";
}

QByteArray identifierEntry(const QByteArray& identifier) {
    return "<key>CFBundleIdentifier</key><string>" + identifier + "</string>";
}

// A bundle in the case's own folder, with an executable of that name.
QString makeBundle(const QString& name, const QByteArray& information, const QString& executable) {
    const QString path = test::folder() + u'/' + name;
    test::writeFile(path + QStringLiteral("/Contents/Info.plist"), information);
    test::writeFile(path + QStringLiteral("/Contents/MacOS/") + executable, "");
    return path;
}

// Resources of the main bundle with nothing in them yet.
QString emptyResources() {
    const QString resources = test::bundle() + QStringLiteral("/Contents/Resources");
    QFile::remove(resources); // the link to the built ones
    EXPECT_TRUE(QDir().mkpath(resources));
    return resources;
}

void putTable(const QString& language, const QByteArray& table) {
    test::writeFile(test::bundle() + QStringLiteral("/Contents/Resources/") + language +
                        QStringLiteral(".lproj/Localizable.strings"),
                    table);
}

} // namespace

TEST(MainBundle, IsTheOneThatTheExecutableLiesIn) {
    EXPECT_EQ(Bundle::mainBundle().path(), test::bundle());
}

TEST(MainBundle, ReadsItsInformationFromXml) {
    test::writeFile(test::bundle() + QStringLiteral("/Contents/Info.plist"),
                    plistWith(identifierEntry("com.example.main") +
                              "<key>QNEnv</key><string>qa1</string><key>n</key><integer>3</integer>"));
    EXPECT_EQ(Bundle::mainBundle().bundleIdentifier(), QStringLiteral("com.example.main"));
    EXPECT_EQ(Bundle::mainBundle().infoDictionary().value(QStringLiteral("QNEnv")), QStringLiteral("qa1"));
    EXPECT_EQ(Bundle::mainBundle().infoDictionary().value(QStringLiteral("n")), 3);
}

TEST(MainBundle, HasNoInformationWhenTheListIsMissingOrDamaged) {
    test::writeFile(test::bundle() + QStringLiteral("/Contents/Info.plist"), "<plist><dict><key>");
    EXPECT_TRUE(Bundle::mainBundle().infoDictionary().isEmpty());
    EXPECT_EQ(Bundle::mainBundle().bundleIdentifier(), std::nullopt);
}

TEST(BundleWithPath, ReadsItsInformationFromABinaryList) {
    const QString path =
        makeBundle(QStringLiteral("B.app"), plistWith(identifierEntry("com.example.binary")), QStringLiteral("B"));
    const QByteArray list = QFile::encodeName(path + QStringLiteral("/Contents/Info.plist"));
    // Facts of the binary form: one dictionary with one pair of short texts, then offsets and the trailer.
    QByteArray binary = "bplist00";
    binary += QByteArray("\xD1\x01\x02", 3);
    binary += "\x5F\x10\x12"
              "CFBundleIdentifier";
    binary += "\x58"
              "a.binary";
    binary += QByteArray("\x08\x0B\x20", 3);
    binary += QByteArray("\0\0\0\0\0\0\1\1"
                         "\0\0\0\0\0\0\0\3"
                         "\0\0\0\0\0\0\0\0"
                         "\0\0\0\0\0\0\0\x29",
                         32);
    test::writeFile(QFile::decodeName(list), binary);
    EXPECT_EQ(Bundle::bundleWithPath(path)->bundleIdentifier(), QStringLiteral("a.binary"));
}

TEST(BundleWithPath, IsAbsentForAFileOrNothing) {
    test::writeFile(test::folder() + QStringLiteral("/file.app"), "");
    EXPECT_FALSE(Bundle::bundleWithPath(test::folder() + QStringLiteral("/file.app")));
    EXPECT_FALSE(Bundle::bundleWithPath(test::folder() + QStringLiteral("/none.app")));
}

TEST(BundleWithPath, ShowsThePlainPathOfABundleOnAVolume) {
    test::setEnvironment("QN_SYSTEM_ROOT", test::systemRoot().toUtf8());
    test::writeFile(test::systemRoot() + QStringLiteral("/Volumes/V 1/A.app/Contents/Info.plist"),
                    plistWith(identifierEntry("on.volume")));
    test::writeFile(test::systemRoot() + QStringLiteral("/Volumes/V 1/A.app/Contents/MacOS/A"), "");
    const auto bundle = Bundle::bundleWithPath(QStringLiteral("/Volumes/V 1/A.app/"));
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->path(), QStringLiteral("/Volumes/V 1/A.app"));
    EXPECT_EQ(bundle->bundleIdentifier(), QStringLiteral("on.volume"));
    EXPECT_EQ(bundle->executablePath(), QStringLiteral("/Volumes/V 1/A.app/Contents/MacOS/A"));
}

TEST(BundleExecutable, IsTheOneThatTheListNames) {
    const QString path =
        makeBundle(QStringLiteral("B.app"), plistWith("<key>CFBundleExecutable</key><string>run me</string>"),
                   QStringLiteral("run me"));
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), path + QStringLiteral("/Contents/MacOS/run me"));
}

TEST(BundleExecutable, HasTheBundlesNameWhenTheListNamesNone) {
    const QString path = makeBundle(QStringLiteral("My Tool.app"), plistWith(""), QStringLiteral("My Tool"));
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), path + QStringLiteral("/Contents/MacOS/My Tool"));
}

TEST(BundleExecutable, IsAbsentWhenTheFileIsMissingOrAFolder) {
    const QString path = makeBundle(
        QStringLiteral("B.app"), plistWith("<key>CFBundleExecutable</key><string>gone</string>"), QStringLiteral("B"));
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), std::nullopt);
    ASSERT_TRUE(QDir().mkpath(path + QStringLiteral("/Contents/MacOS/gone")));
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), std::nullopt);
}

TEST(BundleResource, IsFoundInTheResourcesThenTheChosenLanguageThenTheBase) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    const QString resources = emptyResources();
    const auto put = [&resources](const QString& name) { test::writeFile(resources + name, ""); };
    put(QStringLiteral("/Base.lproj/a.ui"));
    put(QStringLiteral("/en.lproj/only-english.ui"));
    put(QStringLiteral("/de.lproj/b.ui"));
    put(QStringLiteral("/Base.lproj/b.ui"));
    put(QStringLiteral("/c.ui"));
    put(QStringLiteral("/de.lproj/c.ui"));
    const Bundle& bundle = Bundle::mainBundle();
    const QString type = QStringLiteral("ui");
    EXPECT_EQ(bundle.pathForResource(QStringLiteral("a"), type), resources + QStringLiteral("/Base.lproj/a.ui"));
    EXPECT_EQ(bundle.pathForResource(QStringLiteral("b"), type), resources + QStringLiteral("/de.lproj/b.ui"));
    EXPECT_EQ(bundle.pathForResource(QStringLiteral("c"), type), resources + QStringLiteral("/c.ui"));
    EXPECT_EQ(bundle.pathForResource(QStringLiteral("c.ui"), QString()), resources + QStringLiteral("/c.ui"));
    EXPECT_EQ(bundle.pathForResource(QStringLiteral("only-english"), type), std::nullopt);
}

TEST(LocalizedString, ComesFromTheChosenLanguage) {
    test::setEnvironment("LANG", "de_AT.UTF-8");
    emptyResources();
    putTable(QStringLiteral("de-DE"), "/* title */ \"T\" = \"Größe\";\n");
    putTable(QStringLiteral("en-US"), "\"T\" = \"Size\";\n");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QStringLiteral("Größe"));
    EXPECT_EQ(chosenLocalization(), QStringLiteral("de-DE"));
}

TEST(LocalizedString, IsEmptyForAMissingTextAndNotLookedUpInAnotherLanguage) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    emptyResources();
    putTable(QStringLiteral("de"), "\"A\" = \"a\";\n");
    putTable(QStringLiteral("en"), "\"T\" = \"Size\";\n");
    putTable(QStringLiteral("Base"), "\"T\" = \"Base\";\n");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QString());
    EXPECT_EQ(localizedString(QString()), QString());
}

TEST(LocalizedString, ComesFromTheDevelopmentRegionForALanguageWithoutATable) {
    test::setEnvironment("LANG", "is_IS.UTF-8");
    test::setInfo(QStringLiteral("CFBundleDevelopmentRegion"), QStringLiteral("fr"));
    emptyResources();
    putTable(QStringLiteral("en-US"), "\"T\" = \"Size\";\n");
    putTable(QStringLiteral("fr-FR"), "\"T\" = \"Taille\";\n");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QStringLiteral("Taille"));
}

TEST(LocalizedString, ComesFromTheNextLanguageOfTheUsersList) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    test::setEnvironment("LANGUAGE", "is:nb_NO:en");
    emptyResources();
    putTable(QStringLiteral("en-US"), "\"T\" = \"Size\";\n");
    putTable(QStringLiteral("nb-NO"), "\"T\" = \"Størrelse\";\n");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QStringLiteral("Størrelse"));
}

TEST(LocalizedString, IsEmptyWhenTheTableIsMissingOrDamaged) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    emptyResources();
    putTable(QStringLiteral("de"), "\"T\" = \"Size\n");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QString());
}

TEST(LocalizedString, KeepsTheLanguageThatHeldWhenItWasFirstAsked) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    emptyResources();
    putTable(QStringLiteral("de"), "\"T\" = \"Größe\";\n");
    putTable(QStringLiteral("en"), "\"T\" = \"Size\";\n");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QStringLiteral("Größe"));
    test::setEnvironment("LANG", "en_US.UTF-8");
    EXPECT_EQ(localizedString(QStringLiteral("T")), QStringLiteral("Größe"));
}
