#include "install/QNMainController.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/QNErrorController.h"
#include "ui/TextView.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>

using namespace Qt::StringLiterals;

// Texts that are too long for their place: they become smaller, take more lines, and end in an ellipsis at last.

namespace {

const StyledText kHeadline(u"Installation failed"_s, [] {
    TextAttributes attributes;
    attributes.font = FontChoice{u"Common Sans"_s, 40.0};
    return attributes;
}());

struct Shown {
    int size; // of the letters, in points
    int lines;
    bool elided;
    bool operator==(const Shown&) const = default;
};

void PrintTo(const Shown& shown, std::ostream* out) {
    *out << shown.size << " points on " << shown.lines << " lines" << (shown.elided ? ", elided" : "");
}

// A line of the font is 1.21 times its size in whole points, and 0.18 of that stay free between two.
int sizeOf(const TextView& view) {
    return static_cast<int>(view.height() / (1.18 * view.lineCount() - 0.18) / 1.21 + 0.01);
}

Shown shownIn(double part, double height, TextView::TooLong tooLong) {
    const double whole = TextView(kHeadline, {0.0, 0.0, 1.0e6, 0.0}, Qt::AlignLeft).width();
    const TextView view(kHeadline, {0.0, 0.0, whole * part, height}, Qt::AlignHCenter, tooLong);
    EXPECT_LE(view.width(), whole * part + 0.1);
    EXPECT_LE(view.height(), height + 0.1);
    return {sizeOf(view), view.lineCount(), view.isElided()};
}

QString tooltipOf(QWidget& widget) {
    QToolTip::hideText();
    QHelpEvent wish(QEvent::ToolTip, widget.rect().center(), widget.mapToGlobal(widget.rect().center()));
    QApplication::sendEvent(&widget, &wish);
    return QToolTip::text();
}

QString nameOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
}

class FittingTest : public UserInterfaceTest {
protected:
    // Before the first text is looked up.
    static void setTexts(const std::map<QString, QString>& texts) {
        QByteArray table;
        for (const auto& [key, text] : texts) {
            table += u"\"%1\" = \"%2\";\n"_s.arg(key, text).toUtf8();
        }
        test::writeFile(test::ownResources() + u"/en.lproj/Localizable.strings"_s, table);
    }
    QRect frameOf(const QWidget& widget) { return {widget.mapTo(window().contentView(), QPoint()), widget.size()}; }
    // All that the panel shows lies on its card, one beside the other.
    void expectEverythingOnTheCard() {
        QCoreApplication::processEvents();
        QNErrorController& panel = *controller().errorController();
        const QRect card = frameOf(*panel.view()).adjusted(10, 10, -10, -10);
        std::vector<QWidget*> seen;
        for (QWidget* const widget :
             std::initializer_list<QWidget*>{panel.errorIcon(), panel.errorTitle(), panel.errorMessage(),
                                             panel.closeButton(), panel.contactSupportButton(), panel.infoText()}) {
            EXPECT_TRUE(card.contains(frameOf(*widget))) << qPrintable(widget->objectName());
            for (const QWidget* const other : seen) {
                EXPECT_FALSE(frameOf(*other).intersects(frameOf(*widget)))
                    << qPrintable(other->objectName()) << " and " << qPrintable(widget->objectName());
            }
            seen.push_back(widget);
        }
        for (const TextField* const field : {panel.errorTitle(), static_cast<TextField*>(panel.errorMessage()),
                                             static_cast<TextField*>(panel.infoText())}) {
            EXPECT_LE(field->textView().height(), field->height()) << qPrintable(field->objectName());
        }
    }
};

} // namespace

TEST(Fitting, MakesATextForOneLineSmallerInStepsToFourFifthsBeforeItTakesASecondLine) {
    constexpr double kTwoLines = 110.0;
    const std::vector<std::pair<double, Shown>> table{
        {1.0, {40, 1, false}},  {0.97, {38, 1, false}}, {0.92, {36, 1, false}}, {0.87, {34, 1, false}},
        {0.82, {32, 1, false}}, {0.78, {40, 2, false}}, {0.5, {32, 2, false}},  {0.35, {32, 2, true}}};
    for (const auto& [part, expected] : table) {
        EXPECT_EQ(shownIn(part, kTwoLines, TextView::TooLong::kBecomesSmaller), expected) << part;
    }
}

TEST(Fitting, GivesAnotherTextMoreLinesBeforeItBecomesSmaller) {
    const std::vector<std::pair<double, Shown>> table{
        {1.0, {40, 1, false}}, {0.9, {40, 2, false}}, {0.65, {40, 2, false}}, {0.5, {32, 2, false}}};
    for (const auto& [part, expected] : table) {
        EXPECT_EQ(shownIn(part, 110.0, TextView::TooLong::kTakesMoreLines), expected) << part;
    }
    EXPECT_EQ(shownIn(0.91, 50.0, TextView::TooLong::kTakesMoreLines), (Shown{36, 1, false}));
    EXPECT_EQ(shownIn(0.7, 50.0, TextView::TooLong::kTakesMoreLines), (Shown{32, 1, true}));
}

TEST(Fitting, ShowsTheBeginningAndAnEllipsisAndNoHalfCharacter) {
    const StyledText text(u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"_s);
    for (double width = 0.0; width < 60.0; width += 1.0) {
        const TextView view(text, {0.0, 0.0, width, 20.0}, Qt::AlignLeft);
        EXPECT_EQ(view.lineCount(), 1) << width;
        EXPECT_TRUE(view.isElided() || !view.rectsForRange({23, 1}).empty()) << width;
        // Behind the last whole character stands the ellipsis, which is one unit.
        const std::optional<qsizetype> last = view.characterIndexAt({view.width() - 0.5, 5.0});
        ASSERT_TRUE(last.has_value()) << width;
        EXPECT_EQ(last.value() % 2, 0) << width;
    }
}

TEST_F(FittingTest, ShowsATooLongConnectingCaptionSmallerAndThenWithAnEllipsis) {
    const QString caption = u"Connecting to the server, which takes a little longer than it usually does today"_s;
    setTexts({{u"MessageConnecting"_s, caption}});
    TextField& label = *controller().connectingLabel();
    shownWindow();
    EXPECT_FALSE(label.textView().isElided());
    EXPECT_EQ(label.textView().lineCount(), 2);
    EXPECT_LT(sizeOf(label.textView()), 32);
    EXPECT_EQ(tooltipOf(label), QString());
    label.setText(caption + u", and nobody can tell at all why that may be so"_s);
    EXPECT_TRUE(label.textView().isElided());
    EXPECT_LE(label.textView().height(), label.height());
    EXPECT_EQ(tooltipOf(label), label.string());
    EXPECT_EQ(nameOf(label), label.string());
}

TEST_F(FittingTest, ShowsAHeadlineOfThreeLinesOnTwo) {
    const QString headline = u"The installation could not be finished on this computer, not even the third time"_s;
    shownWindow();
    controller().showGenericError();
    const QNErrorController& panel = *controller().errorController();
    panel.errorTitle()->setText(headline);
    expectEverythingOnTheCard();
    EXPECT_EQ(panel.errorTitle()->textView().lineCount(), 2);
    EXPECT_EQ(panel.errorTitle()->textView().isElided(), false);
    EXPECT_EQ(sizeOf(panel.errorTitle()->textView()), 28);
    panel.errorTitle()->setText(headline + u" and a fourth"_s);
    expectEverythingOnTheCard();
    EXPECT_TRUE(panel.errorTitle()->textView().isElided());
    EXPECT_EQ(tooltipOf(*panel.errorTitle()), headline + u" and a fourth"_s);
    EXPECT_EQ(nameOf(*panel.errorTitle()), headline + u" and a fourth"_s);
}

TEST_F(FittingTest, ShowsLongButtonsOnTheCardSmallerThenOnTwoLinesThenWithAnEllipsis) {
    const QString close = u"Close this window and change nothing"_s;
    const QString support = u"Write to the support team and tell them all about what went wrong here, from the very "
                            "first step to the last one that you can remember"_s;
    setTexts({{u"MessageClose"_s, close}, {u"QNContactSupport"_s, support}});
    shownWindow();
    controller().showGenericError();
    expectEverythingOnTheCard();
    const QNErrorController& panel = *controller().errorController();
    EXPECT_FALSE(panel.closeButton()->shownTitle().isElided());
    EXPECT_EQ(panel.closeButton()->shownTitle().lineCount(), 2);
    EXPECT_EQ(tooltipOf(*panel.closeButton()), QString());
    EXPECT_TRUE(panel.contactSupportButton()->shownTitle().isElided());
    EXPECT_EQ(panel.contactSupportButton()->shownTitle().lineCount(), 2);
    EXPECT_EQ(tooltipOf(*panel.contactSupportButton()), support);
    EXPECT_EQ(nameOf(*panel.contactSupportButton()), support);
}

TEST_F(FittingTest, KeepsEverythingOnTheCardWhenEveryTextIsTooLong) {
    const QString endless = u"word "_s.repeated(200);
    setTexts({{u"MessageInstallationFailed"_s, endless},
              {u"MessageInstallationFailedDescription"_s, endless},
              {u"ContactSupportText"_s, endless},
              {u"MessageClose"_s, endless},
              {u"QNContactSupport"_s, endless}});
    shownWindow();
    controller().showGenericError();
    expectEverythingOnTheCard();
    const QNErrorController& panel = *controller().errorController();
    for (TextField* const field : {panel.errorTitle(), static_cast<TextField*>(panel.errorMessage()),
                                   static_cast<TextField*>(panel.infoText())}) {
        EXPECT_TRUE(field->textView().isElided()) << qPrintable(field->objectName());
        EXPECT_EQ(tooltipOf(*field), field->string());
    }
}
