#include "platform/base/PlatformException.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/InterfaceReader.h"
#include "ui/TextField.h"

#include <QAction>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

class InterfaceReaderTest : public UserInterfaceTest {
protected:
    static std::unique_ptr<QWidget> read(const QByteArray& contents) {
        static const InterfaceReader::Classes classes{
            {u"QWidget"_s, [](QWidget* parent) { return new QWidget(parent); }},
            {u"TextField"_s, [](QWidget* parent) -> QWidget* { return new TextField(parent); }},
        };
        return InterfaceReader(contents, classes).read();
    }
    static std::string reasonOf(const QByteArray& contents) {
        try {
            read(contents);
        } catch (const PlatformException& exception) {
            return exception.reason().toStdString();
        }
        return {};
    }
    // A root that holds this.
    static QByteArray inRoot(const QByteArray& inner) {
        return "<ui>\n<widget class='QWidget' name='root'>\n" + inner + "</widget>\n</ui>\n";
    }
};

} // namespace

TEST_F(InterfaceReaderTest, SetsEachKindOfProperty) {
    const auto root =
        read(inRoot("<property name='geometry'><rect><y>2</y><x>1</x><width>30</width><height>40</height>"
                    "</rect></property>"
                    "<property name='minimumSize'><size><height>4</height><width>3</width></size></property>"
                    "<property name='maximumWidth'><number>300</number></property>"
                    "<property name='accessibleName'><string notr='true'>a &amp; b</string></property>"
                    "<property name='acceptDrops'><bool>true</bool></property>"
                    "<property name='layoutDirection'><enum>Qt::RightToLeft</enum></property>"
                    "<widget class='TextField' name='text'><property name='alignment'>"
                    "<set>Qt::AlignRight|Qt::AlignTop</set></property></widget>"));
    EXPECT_EQ(root->geometry(), QRect(1, 2, 30, 40));
    EXPECT_EQ(root->minimumSize(), QSize(3, 4));
    EXPECT_EQ(root->maximumWidth(), 300);
    EXPECT_EQ(root->accessibleName(), u"a & b"_s);
    EXPECT_TRUE(root->acceptDrops());
    EXPECT_EQ(root->layoutDirection(), Qt::RightToLeft);
    EXPECT_EQ(root->findChild<TextField*>(u"text"_s)->alignment(), Qt::AlignRight | Qt::AlignTop);
}

TEST_F(InterfaceReaderTest, BuildsALayoutWithMarginsASpacerAndALayoutInside) {
    const auto root =
        read(inRoot("<layout class='QVBoxLayout' name='outer'>"
                    "<property name='spacing'><number>7</number></property>"
                    "<property name='leftMargin'><number>1</number></property>"
                    "<property name='topMargin'><number>2</number></property>"
                    "<property name='rightMargin'><number>3</number></property>"
                    "<property name='bottomMargin'><number>4</number></property>"
                    "<item><widget class='QWidget' name='first'/></item>"
                    "<item><spacer name='gap'><property name='orientation'><enum>Qt::Vertical</enum>"
                    "</property><property name='sizeType'><enum>QSizePolicy::Fixed</enum></property>"
                    "<property name='sizeHint' stdset='0'><size><width>1</width><height>20</height></size>"
                    "</property></spacer></item>"
                    "<item><layout class='QHBoxLayout' name='inner'><item>"
                    "<widget class='QWidget' name='second'/></item></layout></item></layout>"));
    const auto* const layout = qobject_cast<QVBoxLayout*>(root->layout());
    ASSERT_NE(layout, nullptr);
    EXPECT_EQ(layout->spacing(), 7);
    EXPECT_EQ(layout->contentsMargins(), QMargins(1, 2, 3, 4));
    ASSERT_EQ(layout->count(), 3);
    EXPECT_EQ(layout->itemAt(0)->widget(), root->findChild<QWidget*>(u"first"_s));
    EXPECT_EQ(layout->itemAt(1)->sizeHint(), QSize(1, 20));
    EXPECT_EQ(layout->itemAt(1)->expandingDirections(), Qt::Orientations());
    EXPECT_EQ(layout->itemAt(2)->layout()->itemAt(0)->widget(), root->findChild<QWidget*>(u"second"_s));
}

TEST_F(InterfaceReaderTest, AddsActionsAndKeepsTheOrderOfTheTabKey) {
    const QByteArray focus = "<property name='focusPolicy'><enum>Qt::TabFocus</enum></property></widget>";
    const auto root = read("<ui><widget class='QWidget' name='root'><widget class='QWidget' name='a'>" + focus +
                           "<widget class='QWidget' name='b'>" + focus + "<widget class='QWidget' name='c'>" + focus +
                           "<action name='quit'><property name='shortcut'><string>Ctrl+Q</string></property></action>"
                           "<addaction name='quit'/></widget>"
                           "<tabstops><tabstop>a</tabstop><tabstop>c</tabstop><tabstop>b</tabstop></tabstops></ui>");
    ASSERT_EQ(root->actions().size(), 1);
    EXPECT_EQ(root->actions().first()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
    EXPECT_EQ(root->findChild<QWidget*>(u"a"_s)->nextInFocusChain()->objectName(), u"c"_s);
    EXPECT_EQ(root->findChild<QWidget*>(u"c"_s)->nextInFocusChain()->objectName(), u"b"_s);
}

TEST_F(InterfaceReaderTest, TellsLineAndElementOfWhatItDoesNotUnderstand) {
    const std::pair<QByteArray, std::string> table[] = {
        {"", "line 1: Premature end of document."},
        {"<ui/>", "line 1: no widget"},
        {"<html/>", "line 1, <html>: no interface file"},
        {"<ui><widget class='QWidget' name='a'/></ui>\n<ui/>", "line 2, <ui>: Extra content at end of document."},
        {"<ui>\n<connections/></ui>", "line 2, <connections>: unknown here"},
        {"<ui><widget class='QWidget' name='a'/>\n<widget class='QWidget' name='b'/></ui>",
         "line 2, <widget>: a second root"},
        {inRoot("<widget class='QPushButton' name='a'/>"), "line 3, <widget>: unknown class QPushButton"},
        {inRoot("<widget class='QWidget'/>"), "line 3, <widget>: no attribute name"},
        {inRoot("<widget name='a'/>"), "line 3, <widget>: no attribute class"},
        {inRoot("\n<attribute name='a'/>"), "line 4, <attribute>: unknown here"},
        {inRoot("<layout class='QGridLayout' name='l'/>"), "line 3, <layout>: unknown class QGridLayout"},
        {inRoot("<layout class='QHBoxLayout' name='l'/>\n<layout class='QHBoxLayout' name='m'/>"),
         "line 4, <layout>: a second layout"},
        {inRoot("<layout class='QHBoxLayout' name='l'><item><spacer name='s'/></item></layout>"),
         "line 3, <spacer>: a spacer needs orientation and sizeHint"},
        {inRoot("<addaction name='quit'/>"), "line 3, <addaction>: 0 objects named \"quit\" in place of one"},
        {"<ui><widget class='QWidget' name='a'/><tabstops>\n<tabstop>b</tabstop></tabstops></ui>",
         "line 2, <tabstop>: 0 objects named \"b\" in place of one"},
        {"<ui><widget class='QWidget' name='a'>", "line 1: Premature end of document."},
    };
    for (const auto& [contents, reason] : table) {
        EXPECT_EQ(reasonOf(contents), reason) << contents.constData();
    }
}

TEST_F(InterfaceReaderTest, TellsWhichPropertyIsWrong) {
    const std::pair<QByteArray, std::string> table[] = {
        {"<property name='colour'><number>1</number></property>",
         "line 3, <property>: no property of QWidget, or not its kind of value: colour"},
        {"<property name='geometry'><number>1</number></property>",
         "line 3, <property>: no property of QWidget, or not its kind of value: geometry"},
        {"<property name='width'><number>1</number></property>",
         "line 3, <property>: no property of QWidget, or not its kind of value: width"},
        {"<property name='layoutDirection'><enum>Qt::AlignLeft</enum></property>",
         "line 3, <property>: no property of QWidget, or not its kind of value: layoutDirection"},
        {"<property name='layoutDirection'><number>1</number></property>",
         "line 3, <property>: no property of QWidget, or not its kind of value: layoutDirection"},
        {"<property name='minimumWidth'><enum>Qt::AlignLeft</enum></property>",
         "line 3, <property>: no property of QWidget, or not its kind of value: minimumWidth"},
        {"<property name='minimumWidth'><number>1.5</number></property>", "line 3, <number>: not a whole number: 1.5"},
        {"<property name='minimumWidth'><double>1</double></property>", "line 3, <double>: unknown here"},
        {"<property name='minimumWidth'/>", "line 3, <property>: not one value: minimumWidth"},
        {"<property name='minimumWidth'><number>1</number><number>2</number></property>",
         "line 3, <number>: not one value: minimumWidth"},
        {"<property name='minimumSize'><size><width>1</width></size></property>",
         "line 3, <size>: needs width, height"},
        {"<property name='minimumSize'><size><width>1</width><width>1</width></size></property>",
         "line 3, <width>: unknown here, or a second time"},
        {"<layout class='QHBoxLayout' name='l'><property name='margin'><number>1</number></property></layout>",
         "line 3, <property>: no property of a layout, or not its kind of value: margin"},
        {"<layout class='QHBoxLayout' name='l'><item><spacer name='s'><property name='orientation'>"
         "<enum>Qt::AlignLeft</enum></property></spacer></item></layout>",
         "line 3, <property>: no property of a spacer, or not its kind of value: orientation"},
    };
    for (const auto& [property, reason] : table) {
        EXPECT_EQ(reasonOf(inRoot(property)), reason) << property.constData();
    }
}

TEST_F(InterfaceReaderTest, RefusesWhatIsNestedTooDeeply) {
    const QByteArray open = "<widget class='QWidget' name='w'>";
    const QByteArray close = "</widget>";
    EXPECT_EQ(reasonOf("<ui>" + open.repeated(60) + close.repeated(60) + "</ui>"), "");
    EXPECT_EQ(reasonOf("<ui>" + open.repeated(100000) + close.repeated(100000) + "</ui>"),
              "line 1, <widget>: nested too deeply");
}

TEST_F(InterfaceReaderTest, SurvivesAFileCutAtEachByte) {
    const QByteArray whole = inRoot("<layout class='QVBoxLayout' name='l'><property name='spacing'><number>7</number>"
                                    "</property><item><widget class='TextField' name='t'><property name='alignment'>"
                                    "<set>Qt::AlignRight</set></property></widget></item></layout>");
    EXPECT_EQ(reasonOf(whole), "");
    const qsizetype end = whole.lastIndexOf('>');
    for (qsizetype length = 0; length < end; ++length) {
        EXPECT_NE(reasonOf(whole.left(length)), "") << length;
    }
}
