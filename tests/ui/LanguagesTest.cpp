#include "install/QNMainController.h"
#include "platform/Bundle.h"
#include "platform/base/LanguageMatch.h"
#include "platform/base/StringsTable.h"
#include "sysinfo/LocaleChoice.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/QNAlertController.h"
#include "ui/QNErrorController.h"
#include "ui/TextView.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGlyphRun>
#include <QImage>
#include <QPainter>
#include <QRawFont>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

// The folder of each supported locale, and a setting of the environment that chooses it.
std::vector<std::pair<QString, QByteArray>> languages() {
    const QDir resources(test::bundle() + u"/Contents/Resources"_s);
    const QStringList folders = resources.entryList({u"*.lproj"_s}, QDir::Dirs).replaceInStrings(u".lproj"_s, u""_s);
    std::vector<std::pair<QString, QByteArray>> found;
    for (const char* locale : LocaleChoice::kSupportedLocales) {
        found.emplace_back(platform::matchLanguage(QString::fromLatin1(locale), folders).value_or(QString()),
                           QByteArray(locale).replace('-', '_'));
    }
    return found;
}

const QStringList kKeys{u"ContactSupportText"_s,
                        u"ContactSupportText1"_s,
                        u"MenuQuit"_s,
                        u"MessageClose"_s,
                        u"MessageConnecting"_s,
                        u"MessageDownloadButtonText"_s,
                        u"MessageDownloadText1"_s,
                        u"MessageDownloadText2Link"_s,
                        u"MessageDownloadText3"_s,
                        u"MessageGetLatestVersion"_s,
                        u"MessageInstallationFailed"_s,
                        u"MessageInstallationFailedClickHere"_s,
                        u"MessageInstallationFailedDescription"_s,
                        u"MessageInstallationFailedDescription1"_s,
                        u"MessageInstallationFailedDescription2"_s,
                        u"MessageInstallationFailedDescription3"_s,
                        u"MessageNoInternetConnection"_s,
                        u"MessagePleaseTryLater"_s,
                        u"MessageRetry"_s,
                        u"QNContactSupport"_s,
                        u"QNNo"_s,
                        u"QNYes"_s};

StringsTable::Table tableOf(const QString& language) {
    const QString path = test::bundle() + u"/Contents/Resources/%1.lproj/Localizable.strings"_s.arg(language);
    return StringsTable::parse(test::readFile(path)).value_or(StringsTable::Table());
}

// The font that a text's first letters come from.
QRawFont rawFontOf(const QString& text) {
    QTextLayout layout(text, fontFor({u"Common Sans"_s, 16.0}));
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    return layout.glyphRuns().value(0).rawFont();
}

// What a case of this program says when it fails in another language and at another scale.
QByteArray failuresOf(const QString& name, const QByteArray& locale, const QByteArray& scale) {
    return test::failuresOf(name, {{u"LANG"_s, QString::fromLatin1(locale + ".UTF-8")},
                                   {u"QT_SCALE_FACTOR"_s, QString::fromLatin1(scale)}});
}

class LayoutTest : public UserInterfaceTest {
protected:
    QRect frameOf(const QWidget& widget) { return {widget.mapTo(widget.window(), QPoint()), widget.size()}; }

    void expectUncut(const TextField& field) {
        const TextView view(field.shownText(), QRectF(field.rect()), field.alignment());
        EXPECT_LE(view.height(), field.height()) << qPrintable(field.objectName());
        EXPECT_LE(view.width(), field.width()) << qPrintable(field.objectName());
        EXPECT_FALSE(view.isElided()) << qPrintable(field.objectName());
        expectNoShortLastLine(field.string(), view);
        // A word is broken only where its language breaks words.
        const QString string = field.string();
        for (qsizetype index = 1; index < string.size(); ++index) {
            const auto here = view.rectsForRange({index, 1});
            const auto before = view.rectsForRange({index - 1, 1});
            if (here.empty() || before.empty() || here[0].top() == before[0].top()) {
                continue;
            }
            QTextBoundaryFinder finder(QTextBoundaryFinder::Line, string);
            finder.setPosition(index);
            EXPECT_TRUE(finder.isAtBoundary())
                << qPrintable(string.mid(0, index)) << '|' << qPrintable(string.mid(index));
        }
    }

    // No text ends on a line of one short word.
    static void expectNoShortLastLine(const QString& string, const TextView& view) {
        const auto lines = view.rectsForRange({0, string.size()});
        if (view.lineCount() < 2) {
            return;
        }
        double last = 0.0;
        for (const QRectF& piece : lines) {
            last += piece.top() == lines.back().top() ? piece.width() : 0.0;
        }
        EXPECT_GT(last, view.width() / 2.0) << qPrintable(string);
    }

    void expectUncut(const Button& button) {
        EXPECT_FALSE(button.shownTitle().isElided()) << qPrintable(button.title());
        const TextView view(button.attributedTitle(), QRectF(0, 0, 1.0e6, 0), Qt::AlignLeft);
        constexpr double kSides = 32.0;
        EXPECT_LE(view.width() + kSides, button.width()) << qPrintable(button.title());
        EXPECT_LE(view.height(), button.height()) << qPrintable(button.title());
    }

    // Nothing on the window's screen is cut off, and nothing lies on something else.
    void expectFits(Window& shown) {
        QCoreApplication::processEvents();
        std::vector<const QWidget*> seen;
        for (const QWidget* widget : shown.findChildren<QWidget*>()) {
            const auto* const field = qobject_cast<const TextField*>(widget);
            const auto* const button = qobject_cast<const Button*>(widget);
            const bool counts = button != nullptr || qobject_cast<const ImageView*>(widget) != nullptr ||
                                (field != nullptr && !field->string().isEmpty());
            if (!counts || !widget->isVisible()) {
                continue;
            }
            if (field != nullptr) {
                expectUncut(*field);
            }
            if (button != nullptr && !button->title().isEmpty()) {
                expectUncut(*button);
            }
            EXPECT_TRUE(frameOf(*shown.contentView()).contains(frameOf(*widget))) << qPrintable(widget->objectName());
            for (const QWidget* other : seen) {
                EXPECT_FALSE(frameOf(*other).intersects(frameOf(*widget)))
                    << qPrintable(other->objectName()) << " and " << qPrintable(widget->objectName());
            }
            seen.push_back(widget);
        }
        EXPECT_GE(seen.size(), 2U);
    }
};

} // namespace

TEST(Languages, AreThoseOfTheSupportedLocalesAndNoOthers) {
    QStringList expected{u"Base"_s};
    for (const auto& [folder, locale] : languages()) {
        expected += folder;
    }
    QStringList found;
    for (const QString& folder :
         QDir(test::bundle() + u"/Contents/Resources"_s).entryList({u"*.lproj"_s}, QDir::Dirs)) {
        found += folder.chopped(6);
    }
    expected.sort();
    found.sort();
    EXPECT_EQ(found, expected); // a folder that is missing here has no locale in kSupportedLocales
}

TEST(Languages, HaveATextForEveryKeyAndNoOtherKey) {
    for (const auto& [folder, locale] : languages()) {
        const StringsTable::Table table = tableOf(folder);
        EXPECT_EQ(table.keys(), kKeys) << qPrintable(folder);
        for (auto entry = table.cbegin(); entry != table.cend(); ++entry) {
            EXPECT_FALSE(entry.value().trimmed().isEmpty()) << qPrintable(folder) << ' ' << qPrintable(entry.key());
        }
    }
}

TEST(Languages, DifferFromEnglishInEverySentence) {
    const StringsTable::Table english = tableOf(u"en"_s);
    for (const auto& [folder, locale] : languages()) {
        if (folder == u"en"_s) {
            continue;
        }
        const StringsTable::Table table = tableOf(folder);
        for (const QString& key : kKeys) {
            if (english.value(key).size() > 8) {
                EXPECT_NE(table.value(key), english.value(key)) << qPrintable(folder) << ' ' << qPrintable(key);
            }
        }
    }
}

TEST(Languages, HaveAGlyphForEveryCharacterInEveryWeight) {
    for (const QString& name :
         {u"Common Sans"_s, u"CommonSans-Light"_s, u"CommonSans-Medium"_s, u"CommonSans-Bold"_s}) {
        for (const auto& [folder, locale] : languages()) {
            const StringsTable::Table table = tableOf(folder);
            for (const QString& text : table) {
                QTextLayout layout(text, fontFor({name, 16.0}));
                layout.beginLayout();
                layout.createLine();
                layout.endLayout();
                for (const QGlyphRun& run : layout.glyphRuns()) {
                    EXPECT_FALSE(run.glyphIndexes().contains(0U))
                        << qPrintable(text) << " in " << qPrintable(run.rawFont().familyName());
                }
            }
        }
    }
}

TEST(Languages, AreWrittenInTheChosenFontsWhereTheseAreInstalled) {
    const auto familyOf = [](const QString& text) { return rawFontOf(text).familyName(); };
    EXPECT_EQ(familyOf(u"Installation"_s), u"Inter"_s);
    EXPECT_EQ(familyOf(u"Установка"_s), u"Inter"_s);
    EXPECT_EQ(familyOf(u"Εγκατάσταση"_s), u"Inter"_s);
    EXPECT_EQ(familyOf(u"התקנה"_s), u"Noto Sans Hebrew"_s);
}

TEST(Languages, DISABLED_WriteHanInTheirOwnForms) {
    EXPECT_EQ(rawFontOf(u"骨直"_s).familyName().toUtf8(), qgetenv("HAN_FAMILY"));
}

TEST(Languages, WriteHanInTheFormsOfTheChosenLanguage) {
    const std::vector<std::array<const char*, 3>> choices{
        {"LC_MESSAGES", "zh_CN.UTF-8", "Noto Sans CJK SC"}, {"LC_MESSAGES", "zh_TW.UTF-8", "Noto Sans CJK TC"},
        {"LC_MESSAGES", "ja_JP.UTF-8", "Noto Sans CJK JP"}, {"LC_MESSAGES", "ko_KR.UTF-8", "Noto Sans CJK KR"},
        {"LANGUAGE", "zh_CN:en", "Noto Sans CJK SC"},       {"LANGUAGE", "zh_TW:en", "Noto Sans CJK TC"},
        {"LANGUAGE", "ja:en", "Noto Sans CJK JP"},          {"LANGUAGE", "ko:en", "Noto Sans CJK KR"},
        {"LC_ALL", "zh_TW.UTF-8", "Noto Sans CJK TC"}};
    for (const auto& [variable, value, family] : choices) {
        std::map<QString, QString> environment{{u"LC_ALL"_s, u""_s},
                                               {u"LANGUAGE"_s, u""_s},
                                               {u"LANG"_s, u"en_US.UTF-8"_s},
                                               {u"HAN_FAMILY"_s, QString::fromLatin1(family)}};
        environment[QString::fromLatin1(variable)] = QString::fromLatin1(value);
        EXPECT_EQ(test::failuresOf(u"Languages.DISABLED_WriteHanInTheirOwnForms"_s, environment), "") << value;
    }
}

TEST(Fonts, BecomeFamilyAndWeightInPixels) {
    const std::vector<std::pair<QString, QFont::Weight>> weights{{u"Common Sans"_s, QFont::Normal},
                                                                 {u"CommonSans-Light"_s, QFont::Light},
                                                                 {u"CommonSans-Medium"_s, QFont::Medium},
                                                                 {u"CommonSans-Bold"_s, QFont::Bold}};
    for (const auto& [name, weight] : weights) {
        const QFont font = fontFor({name, 17.0});
        EXPECT_EQ(font.families().first(), u"Inter"_s);
        EXPECT_EQ(font.families().last(), u"sans-serif"_s) << "what stands in where the font is missing";
        EXPECT_EQ(font.weight(), weight);
        EXPECT_EQ(font.pixelSize(), 17);
    }
    EXPECT_EQ(fontFor({u"Other"_s, 12.0}).families().first(), u"Other"_s);
}

TEST(Fonts, ThatWereLoadedAheadPaintWhatTheyPaintOtherwise) {
    const auto painted = [] {
        QImage picture(120, 30, QImage::Format_RGB32);
        picture.fill(Qt::white);
        QPainter painter(&picture);
        painter.setFont(fontFor({u"Common Sans"_s, 16.0}));
        painter.drawText(QPoint(5, 22), u"Connecting"_s);
        return picture;
    };
    loadFontsAhead();
    waitForFonts();
    const QImage ahead = painted();
    EXPECT_TRUE(std::any_of(ahead.constBits(), ahead.constBits() + ahead.sizeInBytes(),
                            [](uchar byte) { return byte < 0x80; }));
    EXPECT_EQ(ahead, painted());
    waitForFonts(); // again: at once
}

// Runs in a process of its own, on a system without the chosen fonts.
TEST_F(LayoutTest, DISABLED_ShowsItsScreensInAnotherFont) {
    const QRawFont font = rawFontOf(u"Installation"_s);
    EXPECT_EQ(font.familyName(), u"Noto Serif"_s);
    EXPECT_TRUE(font.supportsCharacter(u'a'));
    shownWindow();
    controller().showGenericError();
    EXPECT_GT(controller().errorController()->errorTitle()->height(), 30);
}

TEST(Fonts, AreTheSystemsWhereTheChosenOnesAreMissing) {
    const QString folder = test::folder() + u"/fonts"_s;
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString font = u"NotoSerif-Regular.ttf"_s;
    ASSERT_TRUE(QFile::copy(u"/usr/share/fonts/truetype/noto/"_s + font, folder + u'/' + font));
    const QString configuration = test::folder() + u"/fonts.conf"_s;
    test::writeFile(configuration,
                    "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig><dir>" +
                        folder.toUtf8() + "</dir><cachedir>" + test::folder().toUtf8() +
                        "/cache</cachedir></fontconfig>");
    EXPECT_EQ(test::failuresOf(u"LayoutTest.DISABLED_ShowsItsScreensInAnotherFont"_s,
                               {{u"FONTCONFIG_FILE"_s, configuration}}),
              "");
}

// Runs in a process of its own for each language and scale; see below.
TEST_F(LayoutTest, DISABLED_FitsItsScreens) {
    Window& shown = shownWindow();
    QNMainController& c = controller();
    EXPECT_EQ(shown.devicePixelRatioF(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
    expectFits(shown);
    c.showGenericError();
    expectFits(shown);
    c.showGenericDownloadScreen();
    expectFits(shown);
    c.errorView()->setHidden(true);
    c.spinnerView()->setHidden(false);
    expectFits(shown);
    QNAlertController alert;
    alert.showWindow(nullptr, platform::localizedString(u"MenuQuit"_s),
                     platform::localizedString(u"MessagePleaseTryLater"_s), u"Y"_s, u"N"_s);
    expectFits(*alert.window());
}

TEST_F(LayoutTest, DISABLED_RunsRightToLeftInsideItsLabelsOnly) {
    Window& shown = shownWindow();
    controller().showGenericError();
    QCoreApplication::processEvents();
    EXPECT_EQ(shown.layoutDirection(), Qt::LeftToRight);
    const QNErrorController& panel = *controller().errorController();
    EXPECT_LT(frameOf(*panel.closeButton()).left(), frameOf(*panel.contactSupportButton()).left());
    EXPECT_GT(frameOf(*controller().closeButton()).left(), shown.width() / 2);
    const TextView view = panel.infoText()->textView();
    const auto first = view.rectsForRange({0, 1});
    const auto last = view.rectsForRange({panel.infoText()->string().size() - 1, 1});
    EXPECT_GT(first.at(0).left(), last.at(0).left());
}

class LayoutAtScale : public testing::TestWithParam<const char*> {};

TEST_P(LayoutAtScale, FitsItsScreensInEveryLanguage) {
    for (const auto& [folder, locale] : languages()) {
        EXPECT_EQ(failuresOf(u"LayoutTest.DISABLED_FitsItsScreens"_s, locale, GetParam()), "") << qPrintable(folder);
    }
}

INSTANTIATE_TEST_SUITE_P(Scales, LayoutAtScale, testing::Values("1", "1.5", "2", "3"));

TEST(Languages, MirrorTextButNotTheLayoutInHebrew) {
    EXPECT_EQ(failuresOf(u"LayoutTest.DISABLED_RunsRightToLeftInsideItsLabelsOnly"_s, "he_IL", "1"), "");
}
