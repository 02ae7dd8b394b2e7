#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/HyperlinkTextField.h"

#include <QtTest/QTest>

using namespace Qt::StringLiterals;

namespace {

StyledText link(const QString& text, const QString& address) {
    return StyledText::hyperlinkFromString(text, address);
}

StyledText joined(std::initializer_list<StyledText> parts) {
    StyledText whole;
    for (const StyledText& part : parts) {
        whole.append(part);
    }
    return whole;
}

QPoint middleOf(const QRectF& rect) {
    return rect.center().toPoint();
}

class HyperlinkTextFieldTest : public UserInterfaceTest {
protected:
    HyperlinkTextFieldTest() {
        field.setTextFont({u"Common Sans"_s, 16.0});
        field.resize(600, 200);
    }

    void show() {
        field.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&field));
    }

    HyperlinkTextField field;
};

} // namespace

TEST_F(HyperlinkTextFieldTest, IsNeitherEditableNorSelectable) {
    EXPECT_FALSE(field.isEditable());
    EXPECT_FALSE(field.isSelectable());
}

TEST_F(HyperlinkTextFieldTest, GivesNothingInPlaceOfAnEmptyListWithoutALink) {
    field.setText(u"no link in here"_s);
    EXPECT_FALSE(field.hyperlinkInfos().has_value());
    EXPECT_TRUE(field.cursorRects().empty());
    field.setText(StyledText());
    EXPECT_FALSE(field.hyperlinkInfos().has_value());
}

TEST_F(HyperlinkTextFieldTest, RecordsRangeAddressAndRectangleOfALink) {
    field.setText(joined({u"See "_s, link(u"this page"_s, u"https://h/a"_s), u" now"_s}));
    const auto infos = field.hyperlinkInfos();
    ASSERT_TRUE(infos.has_value());
    ASSERT_EQ(infos->size(), 1U);
    EXPECT_EQ(infos->at(0).range, (TextRange{4, 9}));
    EXPECT_EQ(infos->at(0).url, u"https://h/a"_s);
    EXPECT_GT(infos->at(0).rect.left(), 20.0);
    EXPECT_GT(infos->at(0).rect.width(), 50.0);
    EXPECT_GT(infos->at(0).rect.height(), 15.0);
}

TEST_F(HyperlinkTextFieldTest, RecordsOnePieceForEachLineOfAWrappedLink) {
    const QString words = u"one two three four five six seven eight nine ten"_s;
    for (const int width : {90, 120, 160, 220}) {
        field.resize(width, 400);
        field.setText(joined({u"See "_s, link(words, u"https://h/a"_s)}));
        const auto infos = field.hyperlinkInfos();
        ASSERT_TRUE(infos.has_value());
        EXPECT_EQ(static_cast<int>(infos->size()), field.textView().lineCount()) << width;
        EXPECT_GT(infos->size(), 1U) << width;
        double bottom = -1.0;
        for (const HyperlinkInfo& info : *infos) {
            EXPECT_EQ(info.range, (TextRange{4, words.size()}));
            EXPECT_EQ(info.url, u"https://h/a"_s);
            EXPECT_GE(info.rect.top(), bottom);
            EXPECT_LE(info.rect.right(), width);
            bottom = info.rect.bottom();
        }
    }
}

TEST_F(HyperlinkTextFieldTest, OpensAWrappedLinkOnceWhicheverPieceIsClicked) {
    field.resize(120, 400);
    field.setText(link(u"one two three four five six seven"_s, u"https://h/a"_s));
    show();
    const auto infos = field.hyperlinkInfos().value();
    ASSERT_GE(infos.size(), 2U);
    test::click(field, middleOf(infos.front().rect));
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/a"_s});
    test::click(field, middleOf(infos.back().rect));
    EXPECT_EQ(openedAddresses(2), (QStringList{u"https://h/a"_s, u"https://h/a"_s}));
}

TEST_F(HyperlinkTextFieldTest, ShowsTheHandOverEachPieceAndNowhereElse) {
    field.resize(120, 400);
    field.setText(joined({u"See "_s, link(u"one two three four five six"_s, u"https://h/a"_s)}));
    show();
    const auto infos = field.hyperlinkInfos().value();
    ASSERT_GE(infos.size(), 2U);
    for (const HyperlinkInfo& info : infos) {
        QTest::mouseMove(&field, middleOf(info.rect));
        EXPECT_TRUE(test::waitFor([this] { return field.cursor().shape() == Qt::PointingHandCursor; }));
        QTest::mouseMove(&field, QPoint(60, 390));
        EXPECT_TRUE(test::waitFor([this] { return field.cursor().shape() == Qt::ArrowCursor; }));
    }
}

TEST_F(HyperlinkTextFieldTest, GivesTheCharacterAtABoundaryToTheSecondOfTwoAdjacentLinks) {
    field.setText(joined({link(u"mmmm"_s, u"https://h/first"_s), link(u"mmmm"_s, u"https://h/second"_s)}));
    show();
    const auto infos = field.hyperlinkInfos().value();
    ASSERT_EQ(infos.size(), 2U);
    EXPECT_EQ(infos[0].range, (TextRange{0, 4}));
    EXPECT_EQ(infos[1].range, (TextRange{4, 4}));
    const double boundary = infos[1].rect.left();
    test::click(field, QPoint(static_cast<int>(boundary) + 1, middleOf(infos[1].rect).y()));
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/second"_s});
    test::click(field, QPoint(static_cast<int>(boundary) - 2, middleOf(infos[0].rect).y()));
    EXPECT_EQ(openedAddresses(2), (QStringList{u"https://h/second"_s, u"https://h/first"_s}));
}

TEST_F(HyperlinkTextFieldTest, TakesNeighbouringRunsOfOneAddressAsOneLink) {
    StyledText text = joined({link(u"red "_s, u"https://h/a"_s), link(u"black"_s, u"https://h/a"_s)});
    TextAttributes red;
    red.color = Color{1.0, 0.0, 0.0, 1.0};
    text.addAttributes(red, 0, 4);
    field.setText(text);
    const auto infos = field.hyperlinkInfos().value();
    ASSERT_EQ(infos.size(), 1U);
    EXPECT_EQ(infos[0].range, (TextRange{0, 9}));
}

TEST_F(HyperlinkTextFieldTest, DoesNothingForAClickBesideTheGlyphsOrOnPlainText) {
    field.setText(joined({u"plain "_s, link(u"link"_s, u"https://h/a"_s)}));
    show();
    const QRectF rect = field.hyperlinkInfos().value()[0].rect;
    test::click(field, QPoint(5, middleOf(rect).y()));
    test::click(field, QPoint(590, middleOf(rect).y()));
    test::click(field, QPoint(middleOf(rect).x(), 180));
    test::click(field, middleOf(rect));
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/a"_s});
}

TEST_F(HyperlinkTextFieldTest, TakesClicksBelowTheLimitAsClicksAtItsHeight) {
    field.setText(link(u"a link on the only line"_s, u"https://h/a"_s));
    show();
    const QRectF rect = field.hyperlinkInfos().value()[0].rect;
    const QPoint below(middleOf(rect).x(), 150);
    EXPECT_EQ(field.maxPointY(), 0.0F);
    test::click(field, below);
    field.setMaxPointY(static_cast<float>(rect.center().y()));
    test::click(field, below);
    test::click(field, middleOf(rect));
    EXPECT_EQ(openedAddresses(2), (QStringList{u"https://h/a"_s, u"https://h/a"_s}));
}

TEST_F(HyperlinkTextFieldTest, OpensNothingForALinkThatIsNoAddress) {
    StyledText text = link(u"a local file"_s, u"/etc/passwd"_s);
    text.append(link(u"odd link"_s, u"not an address ü"_s));
    text.append(link(u"good link"_s, u"https://h/a"_s));
    field.setText(text);
    show();
    const auto links = field.hyperlinkInfos().value();
    for (const HyperlinkInfo& info : links) {
        test::click(field, middleOf(info.rect));
    }
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/a"_s});
}

TEST_F(HyperlinkTextFieldTest, FollowsAChangedTextAtOnce) {
    field.setText(link(u"first"_s, u"https://h/first"_s));
    show();
    field.setText(link(u"second"_s, u"https://h/second"_s));
    test::click(field, middleOf(field.hyperlinkInfos().value()[0].rect));
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/second"_s});
}

TEST_F(HyperlinkTextFieldTest, LaysTheFieldsOwnFontOverATextWhoseFirstCharacterHasNone) {
    field.setTextFont({u"Common Sans"_s, 30.0});
    TextAttributes small;
    small.font = FontChoice{u"Common Sans"_s, 8.0};
    field.setText(joined({u"a"_s, StyledText(u"b"_s, small)}));
    const StyledText shown = field.shownText();
    for (const StyledText::Run& run : shown.runs()) {
        EXPECT_EQ(run.attributes.font, (FontChoice{u"Common Sans"_s, 30.0}));
    }
    field.setText(joined({StyledText(u"b"_s, small), u"a"_s}));
    EXPECT_EQ(field.shownText().runs()[0].attributes.font, (FontChoice{u"Common Sans"_s, 8.0}));
    EXPECT_FALSE(field.shownText().runs()[1].attributes.font);
}

TEST_F(HyperlinkTextFieldTest, FindsTheLinksOfATextThatRunsRightToLeft) {
    field.setText(joined({u"אפשר "_s, link(u"ללחוץ כאן"_s, u"https://h/a"_s), u" לעזרה"_s}));
    show();
    const auto infos = field.hyperlinkInfos().value();
    ASSERT_EQ(infos.size(), 1U);
    EXPECT_EQ(infos[0].range, (TextRange{5, 9}));
    const auto first = field.textView().rectsForRange({0, 4});
    ASSERT_EQ(first.size(), 1U);
    EXPECT_GT(first[0].left(), infos[0].rect.right() - 1.0) << "the first word stands at the right";
    test::click(field, middleOf(infos[0].rect));
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/a"_s});
}

TEST_F(HyperlinkTextFieldTest, HoldsATrackingAreaAndATimerForOthers) {
    EXPECT_FALSE(field.trackingArea().has_value());
    EXPECT_EQ(field.timer(), nullptr);
    field.setTrackingArea(TrackingArea{QRectF(0, 0, 1, 1), 1, &field});
    EXPECT_EQ(field.trackingArea(), (TrackingArea{QRectF(0, 0, 1, 1), 1, &field}));
}

TEST_F(HyperlinkTextFieldTest, GoesThroughItsLinksByTabAndOpensThemByReturnAndSpace) {
    field.setText(joined({link(u"one"_s, u"https://h/1"_s), u" and "_s, link(u"two"_s, u"https://h/2"_s)}));
    show();
    field.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&field));
    field.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(field.focusedLink(), std::optional<std::size_t>(0));
    QTest::keyClick(&field, Qt::Key_Return);
    QTest::keyClick(&field, Qt::Key_Tab);
    EXPECT_EQ(field.focusedLink(), std::optional<std::size_t>(1));
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/1"_s});
    QTest::keyClick(&field, Qt::Key_Space);
    EXPECT_EQ(openedAddresses(2), (QStringList{u"https://h/1"_s, u"https://h/2"_s}));
    QTest::keyClick(&field, Qt::Key_Backtab);
    EXPECT_EQ(field.focusedLink(), std::optional<std::size_t>(0));
}

TEST_F(HyperlinkTextFieldTest, OpensNothingInTheGapBetweenTwoLines) {
    field.resize(120, 200);
    field.setText(link(u"one two three four five six seven"_s, u"https://h/a"_s));
    const auto infos = field.hyperlinkInfos().value();
    ASSERT_GE(infos.size(), 2U);
    const QPoint gap(60, static_cast<int>((infos.at(0).rect.bottom() + infos.at(1).rect.top()) / 2.0));
    ASSERT_GE(gap.y(), infos.at(0).rect.bottom());
    EXPECT_FALSE(field.textView().characterIndexAt(gap).has_value());
    EXPECT_TRUE(field.textView().characterIndexAt(infos.at(1).rect.center()).has_value());
}

TEST_F(HyperlinkTextFieldTest, FindsNoCharacterBehindTheLastWhereWritingDirectionsMeet) {
    const QChar zero(u'\0');
    const QString text = u"\ufffd\ufffd"_s + zero + u"0\a\ufffd"_s + zero + zero + u"\ufffd\ufffd\ufffd\u0640y\ufffd"_s;
    for (qsizetype length = 1; length <= text.size(); ++length) {
        field.setText(link(text.left(length), u"https://h/a"_s));
        const TextView view = field.textView();
        for (const QRectF& rect : view.rectsForRange({0, length})) {
            for (double x = rect.left() - 1.0; x <= rect.right() + 1.0; x += 0.5) {
                const auto found = view.characterIndexAt({x, rect.center().y()});
                EXPECT_TRUE(!found || (*found >= 0 && *found < length)) << length << " at " << x;
            }
        }
    }
}

TEST_F(HyperlinkTextFieldTest, BreaksCentredTextIntoLinesOfAboutOneLength) {
    const StyledText text(u"The installation could not be finished on this computer at all today"_s);
    field.setText(text);
    const double whole = field.textView().width();
    for (const Qt::Alignment alignment : {Qt::AlignHCenter, Qt::AlignLeft}) {
        const QRectF frame(0.0, 0.0, whole * 0.9, 200.0);
        const TextView view(field.shownText(), frame, alignment);
        ASSERT_EQ(view.lineCount(), 2);
        const auto rects = view.rectsForRange({0, text.length()});
        ASSERT_EQ(rects.size(), 2U);
        const double last = rects.at(1).width() / rects.at(0).width();
        EXPECT_TRUE(alignment == Qt::AlignLeft ? last < 0.3 : last > 0.7) << last;
        if (alignment == Qt::AlignHCenter) {
            EXPECT_NEAR(rects.at(0).center().x(), frame.center().x(), 3.0);
        }
    }
}

TEST_F(HyperlinkTextFieldTest, LeavesAPressBesideItsLinksToTheWindow) {
    field.setText(joined({StyledText(u"See "_s), link(u"this page"_s, u"https://h/a"_s)}));
    show();
    const auto accepted = [this](const QPointF& at) {
        QMouseEvent press(QEvent::MouseButtonPress, at, field.mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&field, &press);
        return press.isAccepted();
    };
    EXPECT_FALSE(accepted({3.0, 10.0}));
    EXPECT_TRUE(accepted(field.hyperlinkInfos()->at(0).rect.center()));
}
