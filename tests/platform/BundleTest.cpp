#include "platform/Bundle.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

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
    test::writeFile(path + u"/Contents/Info.plist"_s, information);
    test::writeFile(path + u"/Contents/MacOS/"_s + executable, "");
    return path;
}

// Resources of the main bundle with nothing in them yet.
QString emptyResources() {
    const QString resources = test::bundle() + u"/Contents/Resources"_s;
    QFile::remove(resources); // the link to the built ones
    EXPECT_TRUE(QDir().mkpath(resources));
    return resources;
}

void putTable(const QString& language, const QByteArray& table) {
    test::writeFile(test::bundle() + u"/Contents/Resources/"_s + language + u".lproj/Localizable.strings"_s, table);
}

} // namespace

TEST(MainBundle, IsTheOneThatTheExecutableLiesIn) {
    EXPECT_EQ(Bundle::mainBundle().path(), test::bundle());
}

TEST(MainBundle, ReadsItsInformationFromXml) {
    test::writeFile(test::bundle() + u"/Contents/Info.plist"_s,
                    plistWith(identifierEntry("com.example.main") +
                              "<key>QNEnv</key><string>qa1</string><key>n</key><integer>3</integer>"));
    EXPECT_EQ(Bundle::mainBundle().bundleIdentifier(), u"com.example.main"_s);
    EXPECT_EQ(Bundle::mainBundle().infoDictionary().value(u"QNEnv"_s), u"qa1"_s);
    EXPECT_EQ(Bundle::mainBundle().infoDictionary().value(u"n"_s), 3);
}

TEST(MainBundle, HasNoInformationWhenTheListIsMissingOrDamaged) {
    test::writeFile(test::bundle() + u"/Contents/Info.plist"_s, "<plist><dict><key>");
    EXPECT_TRUE(Bundle::mainBundle().infoDictionary().isEmpty());
    EXPECT_EQ(Bundle::mainBundle().bundleIdentifier(), std::nullopt);
}

TEST(BundleWithPath, ReadsItsInformationFromABinaryList) {
    const QString path = makeBundle(u"B.app"_s, plistWith(identifierEntry("com.example.binary")), u"B"_s);
    const QByteArray list = QFile::encodeName(path + u"/Contents/Info.plist"_s);
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
    EXPECT_EQ(Bundle::bundleWithPath(path)->bundleIdentifier(), u"a.binary"_s);
}

TEST(BundleWithPath, IsAbsentForAFileOrNothing) {
    test::writeFile(test::folder() + u"/file.app"_s, "");
    EXPECT_FALSE(Bundle::bundleWithPath(test::folder() + u"/file.app"_s));
    EXPECT_FALSE(Bundle::bundleWithPath(test::folder() + u"/none.app"_s));
}

TEST(BundleWithPath, ShowsThePlainPathOfABundleOnAVolume) {
    test::setEnvironment("QN_SYSTEM_ROOT", test::systemRoot().toUtf8());
    test::writeFile(test::systemRoot() + u"/Volumes/V 1/A.app/Contents/Info.plist"_s,
                    plistWith(identifierEntry("on.volume")));
    test::writeFile(test::systemRoot() + u"/Volumes/V 1/A.app/Contents/MacOS/A"_s, "");
    const auto bundle = Bundle::bundleWithPath(u"/Volumes/V 1/A.app/"_s);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->path(), u"/Volumes/V 1/A.app"_s);
    EXPECT_EQ(bundle->bundleIdentifier(), u"on.volume"_s);
    EXPECT_EQ(bundle->executablePath(), u"/Volumes/V 1/A.app/Contents/MacOS/A"_s);
}

TEST(BundleExecutable, IsTheOneThatTheListNames) {
    const QString path =
        makeBundle(u"B.app"_s, plistWith("<key>CFBundleExecutable</key><string>run me</string>"), u"run me"_s);
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), path + u"/Contents/MacOS/run me"_s);
}

TEST(BundleExecutable, HasTheBundlesNameWhenTheListNamesNone) {
    const QString path = makeBundle(u"My Tool.app"_s, plistWith(""), u"My Tool"_s);
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), path + u"/Contents/MacOS/My Tool"_s);
}

TEST(BundleExecutable, IsAbsentWhenTheFileIsMissingOrAFolder) {
    const QString path =
        makeBundle(u"B.app"_s, plistWith("<key>CFBundleExecutable</key><string>gone</string>"), u"B"_s);
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), std::nullopt);
    ASSERT_TRUE(QDir().mkpath(path + u"/Contents/MacOS/gone"_s));
    EXPECT_EQ(Bundle::bundleWithPath(path)->executablePath(), std::nullopt);
}

TEST(BundleResource, IsFoundInTheResourcesThenTheChosenLanguageThenTheBase) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    const QString resources = emptyResources();
    const auto put = [&resources](const QString& name) { test::writeFile(resources + name, ""); };
    put(u"/Base.lproj/a.ui"_s);
    put(u"/en.lproj/only-english.ui"_s);
    put(u"/de.lproj/b.ui"_s);
    put(u"/Base.lproj/b.ui"_s);
    put(u"/c.ui"_s);
    put(u"/de.lproj/c.ui"_s);
    const Bundle& bundle = Bundle::mainBundle();
    const QString type = u"ui"_s;
    EXPECT_EQ(bundle.pathForResource(u"a"_s, type), resources + u"/Base.lproj/a.ui"_s);
    EXPECT_EQ(bundle.pathForResource(u"b"_s, type), resources + u"/de.lproj/b.ui"_s);
    EXPECT_EQ(bundle.pathForResource(u"c"_s, type), resources + u"/c.ui"_s);
    EXPECT_EQ(bundle.pathForResource(u"c.ui"_s, QString()), resources + u"/c.ui"_s);
    EXPECT_EQ(bundle.pathForResource(u"only-english"_s, type), std::nullopt);
}

TEST(LocalizedString, ComesFromTheChosenLanguage) {
    test::setEnvironment("LANG", "de_AT.UTF-8");
    emptyResources();
    putTable(u"de-DE"_s, "/* title */ \"T\" = \"Größe\";\n");
    putTable(u"en-US"_s, "\"T\" = \"Size\";\n");
    EXPECT_EQ(platform::localizedString(u"T"_s), u"Größe"_s);
    EXPECT_EQ(platform::chosenLocalization(), u"de-DE"_s);
}

TEST(LocalizedString, IsEmptyForAMissingTextAndNotLookedUpInAnotherLanguage) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    emptyResources();
    putTable(u"de"_s, "\"A\" = \"a\";\n");
    putTable(u"en"_s, "\"T\" = \"Size\";\n");
    putTable(u"Base"_s, "\"T\" = \"Base\";\n");
    EXPECT_EQ(platform::localizedString(u"T"_s), QString());
    EXPECT_EQ(platform::localizedString(QString()), QString());
}

TEST(LocalizedString, ComesFromTheDevelopmentRegionForALanguageWithoutATable) {
    test::setEnvironment("LANG", "is_IS.UTF-8");
    test::setInfo(u"CFBundleDevelopmentRegion"_s, u"fr"_s);
    emptyResources();
    putTable(u"en-US"_s, "\"T\" = \"Size\";\n");
    putTable(u"fr-FR"_s, "\"T\" = \"Taille\";\n");
    EXPECT_EQ(platform::localizedString(u"T"_s), u"Taille"_s);
}

TEST(LocalizedString, ComesFromTheNextLanguageOfTheUsersList) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    test::setEnvironment("LANGUAGE", "is:nb_NO:en");
    emptyResources();
    putTable(u"en-US"_s, "\"T\" = \"Size\";\n");
    putTable(u"nb-NO"_s, "\"T\" = \"Størrelse\";\n");
    EXPECT_EQ(platform::localizedString(u"T"_s), u"Størrelse"_s);
}

TEST(LocalizedString, IsEmptyWhenTheTableIsMissingOrDamaged) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    emptyResources();
    putTable(u"de"_s, "\"T\" = \"Size\n");
    EXPECT_EQ(platform::localizedString(u"T"_s), QString());
}

TEST(LocalizedString, KeepsTheLanguageThatHeldWhenItWasFirstAsked) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    emptyResources();
    putTable(u"de"_s, "\"T\" = \"Größe\";\n");
    putTable(u"en"_s, "\"T\" = \"Size\";\n");
    EXPECT_EQ(platform::localizedString(u"T"_s), u"Größe"_s);
    test::setEnvironment("LANG", "en_US.UTF-8");
    EXPECT_EQ(platform::localizedString(u"T"_s), u"Größe"_s);
}
