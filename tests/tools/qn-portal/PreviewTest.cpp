#include "platform/base/PropertyList.h"
#include "platform/base/StringsTable.h"
#include "tools/qn-portal/brand/NewBrand.h"
#include "tools/qn-portal/brand/Preview.h"
#include "tools/qn-portal/screens/BrandedBundle.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace Qt::StringLiterals;

namespace portal::brand {

namespace {

TEST(BrandedBundle, TakesTheBrandsSettingsAndKeepsTheOthers) {
    const auto types = [](const QString& name, const QString& scheme) {
        return QVariantList{QVariantMap{{u"CFBundleTypeRole"_s, u"Viewer"_s},
                                        {u"CFBundleURLName"_s, name},
                                        {u"CFBundleURLSchemes"_s, QVariantList{scheme}}}};
    };
    const QVariantMap bundle{{u"CFBundleIdentifier"_s, u"ours"_s},
                             {u"CFBundleName"_s, u"Installer"_s},
                             {u"CFBundleExecutable"_s, u"QNInstaller"_s},
                             {u"CFBundleURLTypes"_s, types(u"ours"_s, u"qnd"_s)},
                             {u"QNConfig"_s, QVariantMap{{u"BG_COLOR"_s, u"#FFF"_s}, {u"kAPP_NAME"_s, u"Sample"_s}}}};
    const QVariantMap brand{{u"CFBundleIdentifier"_s, u"theirs"_s},
                            {u"QNConfig"_s, QVariantMap{{u"kAPP_NAME"_s, u"Kit"_s}, {u"QNPortalType"_s, u"kit"_s}}}};
    const QVariantMap expected{
        {u"CFBundleIdentifier"_s, u"theirs"_s},
        {u"CFBundleName"_s, u"Kit Installer"_s},
        {u"CFBundleExecutable"_s, u"QNInstaller"_s},
        {u"CFBundleURLTypes"_s, types(u"theirs"_s, u"kitd"_s)},
        {u"QNConfig"_s,
         QVariantMap{{u"BG_COLOR"_s, u"#FFF"_s}, {u"kAPP_NAME"_s, u"Kit"_s}, {u"QNPortalType"_s, u"kit"_s}}}};
    EXPECT_EQ(screens::branded(bundle, brand), expected);
}

TEST(BrandedBundle, IsWrittenAsAListThatReadsTheSame) {
    const QVariantMap list{{u"text"_s, u"a < b & \"c\" é"_s},
                           {u"yes"_s, true},
                           {u"number"_s, qint64{-7}},
                           {u"list"_s, QVariantList{u"one"_s, QVariantMap{{u"two"_s, false}}}}};
    EXPECT_EQ(PropertyList::parse(screens::propertyListText(list)), QVariant(list));
}

QByteArray contentsOf(const std::filesystem::path& path) {
    QFile file(QString::fromStdString(path.string()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

// The bundle's information and resources, without its programs.
std::filesystem::path copyOfTheBundle(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder / "Contents");
    for (const char* const part : {"Contents/Info.plist", "Contents/Resources"}) {
        std::filesystem::copy(std::filesystem::path(BUILT_BUNDLE) / part, folder / part,
                              std::filesystem::copy_options::recursive);
    }
    return folder;
}

// As ./release does it.
void putByRelease(const std::filesystem::path& brand, const std::filesystem::path& bundle) {
    const QString words = u"import sys, pathlib; sys.path.insert(0, sys.argv[1]); import brand; "
                          "brand.put_brand(pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]))"_s;
    QProcess python;
    python.start(u"python3"_s, {u"-B"_s, u"-c"_s, words, QString::fromUtf8(SOURCE_FOLDER "/tools/release"),
                                QString::fromStdString(brand.string()), QString::fromStdString(bundle.string())});
    ASSERT_TRUE(python.waitForFinished());
    ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
}

void expectSame(const std::filesystem::path& ours, const std::filesystem::path& released) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(released)) {
        const auto other = ours / entry.path().lexically_relative(released);
        if (entry.is_directory()) {
            continue;
        }
        ++count;
        const QByteArray theirs = contentsOf(entry.path());
        if (entry.path().extension() == ".plist") {
            EXPECT_EQ(PropertyList::parse(contentsOf(other)), PropertyList::parse(theirs)) << other;
        } else if (entry.path().extension() == ".strings") {
            EXPECT_EQ(StringsTable::parse(contentsOf(other)), StringsTable::parse(theirs)) << other;
        } else {
            EXPECT_EQ(contentsOf(other), theirs) << other;
        }
    }
    EXPECT_GT(count, 40);
}

TEST(BrandedBundle, ShowsWhatAReleaseHolds) {
    for (const char* const name : {"midnight", "shemesh"}) {
        const QTemporaryDir folder;
        const std::filesystem::path top = folder.path().toStdString();
        std::filesystem::copy(std::filesystem::path(SOURCE_FOLDER) / "portals" / name, top / "brand",
                              std::filesystem::copy_options::recursive);
        std::filesystem::create_directory(top / "brand/fonts");
        std::ofstream(top / "brand/fonts/Kit.ttf") << "a font";
        const auto ours = copyOfTheBundle(top / "ours");
        const auto released = copyOfTheBundle(top / "released");
        screens::putBrand(folder.filePath(u"brand"_s), QString::fromStdString(ours.string()));
        putByRelease(top / "brand", released);
        expectSame(ours, released);
    }
}

TEST(BrandedBundle, RefusesWhatAReleaseRefuses) {
    for (const auto& [file, text] : {std::pair("images/icon.svg", "<svg/>"),
                                     {"images/application_icon.png", "x"},
                                     {"xx.lproj/Localizable.strings", "\"QNYes\" = \"X\";"},
                                     {"en.lproj/Localizable.strings", "\"QNYess\" = \"X\";"}}) {
        const QTemporaryDir folder;
        const std::filesystem::path top = folder.path().toStdString();
        std::filesystem::copy(std::filesystem::path(SOURCE_FOLDER) / "portals/midnight", top / "brand",
                              std::filesystem::copy_options::recursive);
        std::filesystem::create_directories((top / "brand" / file).parent_path());
        std::ofstream(top / "brand" / file) << text;
        const auto ours = copyOfTheBundle(top / "ours");
        EXPECT_THROW(screens::putBrand(folder.filePath(u"brand"_s), QString::fromStdString(ours.string())),
                     std::runtime_error)
            << file;
    }
}

TEST(Preview, ShowsEveryScreenInTheBrandsColour) {
    const QTemporaryDir folder;
    const std::string brand = folder.filePath(u"kit"_s).toStdString();
    makeBrand(brand, "kit");
    QFile settings(folder.filePath(u"kit/Info.plist"_s));
    ASSERT_TRUE(settings.open(QIODevice::ReadWrite));
    const QByteArray blue = settings.readAll().replace("#FFFFFF", "#3050A0");
    settings.seek(0);
    settings.write(blue);
    settings.close();
    makePreview({QString::fromStdString(brand),
                 QString::fromUtf8(BUILT_BUNDLE),
                 QString::fromUtf8(QN_PORTAL),
                 folder.filePath(u"preview"_s),
                 {u"de"_s}});
    for (const QString& screen : {u"connecting"_s, u"download"_s, u"no-internet"_s, u"error"_s}) {
        const QImage picture(folder.filePath(u"preview/de-%1.png"_s.arg(screen)));
        ASSERT_FALSE(picture.isNull()) << screen.toStdString();
        const QPoint insideTheCorner(80, 80); // 56 points of desktop lie around the window
        EXPECT_EQ(picture.pixelColor(insideTheCorner), QColor(0x30, 0x50, 0xA0)) << screen.toStdString();
    }
    EXPECT_TRUE(QFile::exists(folder.filePath(u"preview/index.html"_s)));
    EXPECT_EQ(QImage(folder.filePath(u"preview/contact-sheet.png"_s)).width(), 5 * 360);
}

TEST(Preview, SaysWhenThereIsNoBrand) {
    const QTemporaryDir folder;
    EXPECT_THROW(makePreview({folder.filePath(u"none"_s),
                              QString::fromUtf8(BUILT_BUNDLE),
                              QString::fromUtf8(QN_PORTAL),
                              folder.filePath(u"preview"_s),
                              {u"de"_s}}),
                 std::runtime_error);
}

} // namespace

} // namespace portal::brand
