#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/MainMenu.h"
#include "ui/QNButton.h"
#include "ui/QNErrorController.h"
#include "ui/QNSpinner.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QScreen>
#include <QWindow>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;

namespace {

struct Expected {
    QString text;
    QString color; // empty: none of its own
    QString font;
    double size;
    QString link;
    bool operator==(const Expected&) const = default;
};

void PrintTo(const Expected& run, std::ostream* out) {
    *out << qPrintable(run.text) << '|' << qPrintable(run.color) << '|' << qPrintable(run.font) << '|' << run.size
         << '|' << qPrintable(run.link);
}

std::vector<Expected> runsOf(const StyledText& text) {
    std::vector<Expected> runs;
    for (const StyledText::Run& run : text.runs()) {
        const TextAttributes& own = run.attributes;
        runs.push_back({run.text, own.color ? own.color->hexColor() : QString(), own.font ? own.font->name : QString(),
                        own.font ? own.font->size : 0.0, own.link.value_or(QString())});
    }
    return runs;
}

Expected plain(const QString& text, double size) {
    return {text, u"#767676"_s, u"Common Sans"_s, size, QString()};
}

Expected link(const QString& text, double size, const QString& address) {
    return {text, u"#000000"_s, u"Common Sans"_s, size, address};
}

const Expected kSeparator{u" "_s, QString(), QString(), 0.0, QString()};

class ScreensTest : public UserInterfaceTest {
protected:
    ScreensTest() {
        test::setSetting(u"visitOnlineHelpSiteUrl"_s, u"https://h/help"_s);
        test::setSetting(u"downloadAndInstallLatestVersionUrl"_s, u"https://h/latest"_s);
        test::setSetting(u"clickHereUrl"_s, u"https://h/here"_s);
    }

    void configure(const QString& actionUrl) {
        controller().setConfig(std::make_shared<QNConfig>(
            QVariantMap{{u"userAction"_s,
                         QVariantList{QVariantMap{
                             {u"action"_s, u"openLink"_s}, {u"isActive"_s, u"1"_s}, {u"actionUrl"_s, actionUrl}}}}}));
    }
    // close control, install, page, spinner, error
    std::vector<bool> views() {
        const QNMainController& c = controller();
        return {!c.closeButton()->isHidden(), !c.installView()->isHidden(), !c.pageView()->isHidden(),
                !c.spinnerView()->isHidden(), !c.errorView()->isHidden()};
    }
    // retry, close, contact support, subtitle
    std::vector<bool> panelViews() {
        const QNErrorController& panel = *controller().errorController();
        return {!panel.retryButton()->isHidden(), !panel.closeButton()->isHidden(),
                !panel.contactSupportButton()->isHidden(), !panel.infoText()->isHidden()};
    }
    QNErrorController& panel() { return *controller().errorController(); }
};

const std::vector<bool> kErrorPanel{true, false, false, false, true};

} // namespace

TEST_F(ScreensTest, StartsWithItsFieldsSet) {
    QNMainController& c = controller();
    EXPECT_TRUE(c.closeWithoutCheck());
    EXPECT_FALSE(c.forceInstall());
    EXPECT_EQ(c.isLaunchOrNot(), 0);
    EXPECT_EQ(c.progressPercents(), 0.0);
    EXPECT_EQ(c.pageIndex(), 0U);
    EXPECT_TRUE(c.pagesInfo().isEmpty());
    EXPECT_EQ(c.alert(), nullptr);
    EXPECT_TRUE(c.launchButton()->isHidden());
    EXPECT_TRUE(c.progressStatus()->isHidden());
    ASSERT_NE(c.spinner(), nullptr);
    EXPECT_EQ(c.spinner()->parentWidget(), nullptr) << "the spinner made by code is in no view";
    EXPECT_EQ(c.view()->layer().backgroundColor->hexColor(), u"#FFFFFF"_s);
    EXPECT_EQ(c.view()->layer().borderWidth, 0.0);
}

TEST_F(ScreensTest, TakesItsBackgroundFromTheSettings) {
    test::setSetting(u"BG_COLOR"_s, u"#FFE0C0"_s);
    EXPECT_EQ(controller().view()->layer().backgroundColor->hexColor(), u"#FFE0C0"_s);
    EXPECT_EQ(panel().view()->layer().backgroundColor->hexColor(), u"#FFE0C0"_s);
}

TEST_F(ScreensTest, HasNoBackgroundForAColourThatIsNone) {
    test::setSetting(u"BG_COLOR"_s, u"#12345"_s);
    EXPECT_FALSE(controller().view()->layer().backgroundColor);
}

TEST_F(ScreensTest, HasNoBackgroundWithoutItsSetting) {
    test::setSetting(u"BG_COLOR"_s, QVariant());
    EXPECT_FALSE(controller().view()->layer().backgroundColor);
}

TEST_F(ScreensTest, LeavesLabelsEmptyWhoseTextsAreMissing) {
    const QString table = test::ownResources() + u"/en.lproj/Localizable.strings"_s;
    test::writeFile(table, test::readFile(table).replace("\"MessageConnecting\"", "\"Other\""));
    EXPECT_EQ(controller().connectingLabel()->string(), QString());
    EXPECT_EQ(panel().errorTitle()->string(), u"No internet connection"_s);
}

TEST_F(ScreensTest, HasATurningSpinnerFromTheInterfaceFile) {
    EXPECT_EQ(controller().spinnerView()->findChildren<QNSpinner*>().size(), 1);
}

TEST_F(ScreensTest, StylesTheConnectingLabel) {
    const TextField& label = *controller().connectingLabel();
    EXPECT_EQ(label.string(), u"Connecting…"_s);
    EXPECT_EQ(label.textColor().hexColor(), u"#1A1A1A"_s);
    EXPECT_EQ(label.textFont(), (FontChoice{u"Common Sans"_s, 32.0}));
    EXPECT_TRUE(label.drawsBackground());
    EXPECT_EQ(label.backgroundColor().hexColor(), u"#FFFFFF"_s);
}

TEST_F(ScreensTest, ShowsRetryAloneWithoutAConnection) {
    EXPECT_EQ(views(), kErrorPanel);
    EXPECT_EQ(panelViews(), (std::vector<bool>{true, false, false, true}));
    EXPECT_EQ(panel().errorTitle()->string(), u"No internet connection"_s);
    EXPECT_EQ(panel().errorMessage()->string(), u"Please check your connection and try again."_s);
    EXPECT_EQ(panel().errorIcon()->imageName(), u"no_internet"_s);
    EXPECT_EQ(panel().infoText()->string(), QString());
}

TEST_F(ScreensTest, ShowsTheGenericErrorWithCloseAndContactSupport) {
    controller().showGenericError();
    EXPECT_EQ(views(), kErrorPanel);
    EXPECT_EQ(panelViews(), (std::vector<bool>{false, true, true, true}));
    EXPECT_EQ(panel().errorTitle()->string(), u"Installation failed"_s);
    EXPECT_EQ(panel().errorMessage()->text(), controller().setupContactSupportLabelsUI());
    EXPECT_EQ(panel().infoText()->text(), controller().setupVisitOnlineSiteLabelUI());
    EXPECT_EQ(panel().errorIcon()->imageName(), u"install_failed_block_img"_s);
    EXPECT_EQ(panel().closeButton()->title(), u"Close"_s);
    EXPECT_EQ(test::eventLogMessages().last(), u"Show generic error screen."_s);
}

TEST_F(ScreensTest, ShowsTheDownloadScreenWhoseCloseButtonOpensTheLinkAndQuits) {
    configure(u"https://h/action"_s);
    controller().showGenericDownloadScreen();
    EXPECT_EQ(views(), kErrorPanel);
    EXPECT_EQ(panelViews(), (std::vector<bool>{false, true, true, true}));
    EXPECT_EQ(panel().errorTitle()->string(), u"Get the latest version"_s);
    EXPECT_EQ(panel().errorMessage()->text(), controller().setupGenericDownloadUI());
    EXPECT_EQ(panel().errorIcon()->imageName(), u"dl"_s);
    EXPECT_EQ(panel().closeButton()->title(), u"Download"_s);
    EXPECT_EQ(test::eventLogMessages().last(), u"Show generic download screen."_s);
    shownWindow();
    whenTerminated([this] {
        EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION {\"link\":\"https://h/action\"}"_s});
        EXPECT_EQ(openedAddresses(), QStringList{u"https://h/action"_s});
    });
    test::click(*panel().closeButton());
    FAIL() << "it did not quit";
}

TEST_F(ScreensTest, KeepsTheCloseButtonInLinkModeForTheErrorThatFollows) {
    configure(u"https://h/action"_s);
    controller().showGenericDownloadScreen();
    controller().showGenericError();
    EXPECT_EQ(panel().closeButton()->title(), u"Download"_s);
    EXPECT_TRUE(panel().customActionOnClose());
    EXPECT_EQ(panel().customActionLink(), u"https://h/action"_s);
}

TEST_F(ScreensTest, JoinsTheThreeRunsOfTheDownloadTextWithoutBlanks) {
    configure(u"https://h/action"_s);
    EXPECT_EQ(
        runsOf(controller().setupGenericDownloadUI()),
        (std::vector<Expected>{plain(u"Press Download to get the latest version, or "_s, 14.0),
                               link(u"open the download page"_s, 14.0, u"https://h/action"_s), plain(u"."_s, 14.0)}));
}

TEST_F(ScreensTest, PutsOneBlankBetweenTheRunsOfTheHelpText) {
    EXPECT_EQ(runsOf(controller().setupVisitOnlineSiteLabelUI()),
              (std::vector<Expected>{plain(u"Need help?"_s, 14.0), kSeparator,
                                     link(u"Visit our help site"_s, 14.0, u"https://h/help"_s)}));
}

TEST_F(ScreensTest, PutsOneBlankBetweenEachTwoRunsOfTheFailureText) {
    EXPECT_EQ(runsOf(controller().setupContactSupportLabelsUI()),
              (std::vector<Expected>{plain(u"Something went wrong. You can"_s, 16.0), kSeparator,
                                     link(u"download and install the latest version"_s, 16.0, u"https://h/latest"_s),
                                     kSeparator, plain(u"yourself, or"_s, 16.0), kSeparator,
                                     link(u"click here"_s, 16.0, u"https://h/here"_s), kSeparator,
                                     plain(u"for more help."_s, 16.0)}));
}

TEST_F(ScreensTest, CarriesOnALinkRunEverythingButAnUnderline) {
    const StyledText text = controller().setupVisitOnlineSiteLabelUI();
    const TextAttributes& attributes = text.runs().back().attributes;
    EXPECT_EQ(attributes.underlineColor, (Color{0.0, 0.0, 0.0, 0.0}));
    EXPECT_EQ(attributes.underlineStyle, 0);
    EXPECT_EQ(attributes.alignment, Qt::Alignment(Qt::AlignHCenter));
    EXPECT_EQ(attributes.cursor, Qt::PointingHandCursor);
    EXPECT_EQ(text.runs().front().attributes.alignment, Qt::Alignment(Qt::AlignHCenter));
}

TEST_F(ScreensTest, ShowsALinkWithoutAUsableAddressAsPlainText) {
    test::setSetting(u"clickHereUrl"_s, QVariant());
    test::setSetting(u"downloadAndInstallLatestVersionUrl"_s, u"no address"_s);
    EXPECT_EQ(runsOf(controller().setupContactSupportLabelsUI()),
              (std::vector<Expected>{plain(u"Something went wrong. You can"_s, 16.0), kSeparator,
                                     plain(u"download and install the latest version"_s, 16.0), kSeparator,
                                     plain(u"yourself, or"_s, 16.0), kSeparator, plain(u"click here"_s, 16.0),
                                     kSeparator, plain(u"for more help."_s, 16.0)}));
}

TEST_F(ScreensTest, OpensTheLinksOfTheFailureTextByClick) {
    controller().showGenericError();
    shownWindow();
    QStringList expected;
    for (const HyperlinkTextField* field : {panel().errorMessage(), panel().infoText()}) {
        const std::vector<HyperlinkInfo> infos = field->hyperlinkInfos().value();
        for (const HyperlinkInfo& info : infos) {
            test::click(*const_cast<HyperlinkTextField*>(field), info.rect.center().toPoint());
            expected += info.url;
            EXPECT_EQ(openedAddresses(static_cast<int>(expected.size())), expected);
        }
    }
    EXPECT_GE(expected.size(), 3);
}

TEST_F(ScreensTest, ForwardsTheFiveVariantsOfThePanel) {
    QNMainController& c = controller();
    c.setCloseWithoutCheck(false);
    c.showInfoAlertWithMessage(u"m"_s, u"t"_s, std::nullopt, u"s"_s);
    EXPECT_EQ(panelViews(), (std::vector<bool>{false, false, false, true}));
    c.showInfoAlertWithMessage(u"m"_s, u"t"_s, std::nullopt, Retry{true}, ContactSupport{true}, u"s"_s);
    EXPECT_EQ(panelViews(), (std::vector<bool>{true, false, true, true}));
    c.showInfoAlertWithMessage(u"m"_s, u"t"_s, std::nullopt, Retry{true}, Close{true}, ContactSupport{false},
                               std::nullopt);
    EXPECT_EQ(panelViews(), (std::vector<bool>{true, true, false, false}));
    EXPECT_FALSE(c.closeWithoutCheck());
    c.showInfoAlertWithMessage(u"m"_s, u"t"_s, std::nullopt, Close{true}, ContactSupport{true}, u"s"_s);
    EXPECT_EQ(panelViews(), (std::vector<bool>{false, true, true, true}));
    EXPECT_TRUE(c.closeWithoutCheck());
    EXPECT_FALSE(panel().customActionOnClose());
    c.showInfoAlertWithMessage(u"m"_s, u"t"_s, std::nullopt, Retry{false}, Close{true}, ContactSupport{false}, u"s"_s,
                               u"ignored"_s, u"https://h/x"_s);
    EXPECT_EQ(panelViews(), (std::vector<bool>{false, true, false, true}));
    EXPECT_EQ(panel().closeButton()->title(), u"Download"_s);
    EXPECT_EQ(panel().customActionLink(), u"https://h/x"_s);
}

TEST_F(ScreensTest, ShowsAndHidesItsCloseControlByNotification) {
    QNMainController& c = controller();
    NotificationCenter::defaultCenter().post(kHideCloseButton);
    EXPECT_TRUE(c.closeButton()->isHidden());
    NotificationCenter::defaultCenter().post(kShowCloseButton);
    EXPECT_FALSE(c.closeButton()->isHidden());
}

TEST_F(ScreensTest, QuitsByItsCloseControl) {
    shownWindow();
    whenTerminated([this] { EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION"_s}); });
    test::click(*controller().closeButton());
    FAIL() << "it did not quit";
}

TEST_F(ScreensTest, TurnsHtmlIntoStyledText) {
    const StyledText text = controller().stringFromHTML(u"one <b>two</b> <a href=\"https://h/a\">three</a>"_s,
                                                        FontChoice{u"Common Sans"_s, 17.9});
    EXPECT_EQ(text.string(), u"one two three"_s);
    EXPECT_EQ(text.attributesAt(0).font, (FontChoice{u"Common Sans"_s, 17.0})) << "whole pixels";
    EXPECT_EQ(text.attributesAt(9).link, u"https://h/a"_s);
    const StyledText other = controller().stringFromHTML(u"x"_s, std::nullopt);
    EXPECT_EQ(other.attributesAt(0).font, defaultFont());
}

TEST_F(ScreensTest, MakesNoWindowOfAViewThatIsNotInTheWindowYet) {
    EXPECT_FALSE(controller().isViewHidden()) << "it has shown that there is no connection";
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    controller().setViewHidden(true);
    EXPECT_TRUE(controller().isViewHidden());
    controller().setViewHidden(false);
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    EXPECT_TRUE(shownWindow().isVisible());
    EXPECT_TRUE(controller().view()->isVisible());
}

TEST_F(ScreensTest, TakesTheWindowOffTheScreenWithItsViewAndBringsItBack) {
    Window& shown = shownWindow();
    EXPECT_FALSE(controller().isViewHidden());
    controller().setViewHidden(true);
    EXPECT_TRUE(controller().isViewHidden());
    EXPECT_FALSE(shown.isVisible());
    shown.move(0, 0);
    controller().setViewHidden(false);
    EXPECT_TRUE(test::waitFor([&] { return shown.windowHandle()->isExposed(); }));
    EXPECT_EQ(shown.geometry().center().x(), shown.screen()->geometry().center().x());
}
