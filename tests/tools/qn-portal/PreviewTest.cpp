#include "platform/base/PropertyList.h"
#include "tools/qn-portal/brand/BrandedBundle.h"
#include "tools/qn-portal/brand/NewBrand.h"
#include "tools/qn-portal/brand/Preview.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace portal::brand {

namespace {

TEST(BrandedBundle, TakesTheBrandsSettingsAndKeepsTheOthers) {
    const QVariantMap bundle{{u"CFBundleIdentifier"_s, u"ours"_s},
                             {u"CFBundleName"_s, u"Installer"_s},
                             {u"QNConfig"_s, QVariantMap{{u"BG_COLOR"_s, u"#FFF"_s}, {u"kAPP_NAME"_s, u"Sample"_s}}}};
    const QVariantMap brand{{u"CFBundleIdentifier"_s, u"theirs"_s},
                            {u"QNConfig"_s, QVariantMap{{u"kAPP_NAME"_s, u"Kit"_s}}}};
    const QVariantMap expected{{u"CFBundleIdentifier"_s, u"theirs"_s},
                               {u"CFBundleName"_s, u"Installer"_s},
                               {u"QNConfig"_s, QVariantMap{{u"BG_COLOR"_s, u"#FFF"_s}, {u"kAPP_NAME"_s, u"Kit"_s}}}};
    EXPECT_EQ(branded(bundle, brand), expected);
}

TEST(BrandedBundle, IsWrittenAsAListThatReadsTheSame) {
    const QVariantMap list{{u"text"_s, u"a < b & \"c\" é"_s},
                           {u"yes"_s, true},
                           {u"number"_s, qint64{-7}},
                           {u"list"_s, QVariantList{u"one"_s, QVariantMap{{u"two"_s, false}}}}};
    EXPECT_EQ(PropertyList::parse(propertyListText(list)), QVariant(list));
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
                 QString::fromUtf8(SCREEN_PICTURES),
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
                              QString::fromUtf8(SCREEN_PICTURES),
                              folder.filePath(u"preview"_s),
                              {u"de"_s}}),
                 std::runtime_error);
}

} // namespace

} // namespace portal::brand
