#include "install/QNMainController.h"
#include "platform/base/PlatformException.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/InterfaceFile.h"
#include "ui/MainMenu.h"
#include "ui/QNAlertController.h"
#include "ui/QNErrorController.h"
#include "ui/QNSpinner.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

// The reason of the exception that `body` raises; empty when it raises none.
QString reasonOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const PlatformException& exception) {
        return exception.reason();
    }
    return {};
}

class InterfaceFileTest : public UserInterfaceTest {
protected:
    static QString pathOf(const QString& name) {
        static const QString resources = test::ownResources();
        return resources + u"/Base.lproj/"_s + name + u".ui"_s;
    }
    static void replace(const QString& name, const QByteArray& from, const QByteArray& to) {
        QByteArray contents = test::readFile(pathOf(name));
        ASSERT_TRUE(contents.contains(from)) << from.constData();
        test::writeFile(pathOf(name), contents.replace(from, to));
    }
    static void loadAll() {
        const MainInterface menu = loadMainMenu();
        const QNErrorController panel(u"QNErrorController"_s);
        const QNAlertController alert;
        const QNMainController main(u"QNMainController"_s);
    }
};

} // namespace

TEST_F(InterfaceFileTest, LoadsEveryFileOfTheBundle) {
    EXPECT_EQ(reasonOf(loadAll), QString());
}

TEST_F(InterfaceFileTest, ShowsWhatAnEditedFileOfACopiedBundleSays) {
    replace(u"MainMenu"_s, "<width>640</width><height>500</height>", "<width>700</width><height>540</height>");
    replace(u"QNMainController"_s, "<x>596</x><y>12</y>", "<x>8</x><y>10</y>");
    EXPECT_EQ(window().contentView()->size(), QSize(700, 540));
    EXPECT_EQ(controller().closeButton()->pos(), QPoint(8, 10));
}

TEST_F(InterfaceFileTest, RaisesForAMissingFile) {
    for (const QString& name : {u"MainMenu"_s, u"QNErrorController"_s, u"QNAlertController"_s, u"QNMainController"_s}) {
        const QByteArray contents = test::readFile(pathOf(name));
        QFile::remove(pathOf(name));
        EXPECT_EQ(reasonOf(loadAll), u"Interface file \"%1\": not in the bundle, or not readable"_s.arg(name));
        test::writeFile(pathOf(name), contents);
    }
}

TEST_F(InterfaceFileTest, RaisesForABrokenFile) {
    for (const QString& name : {u"MainMenu"_s, u"QNErrorController"_s, u"QNAlertController"_s, u"QNMainController"_s}) {
        const QByteArray contents = test::readFile(pathOf(name));
        for (const qsizetype length : {qsizetype(0), qsizetype(10), contents.size() / 2, contents.size() - 8}) {
            test::writeFile(pathOf(name), contents.left(length));
            EXPECT_TRUE(reasonOf(loadAll).startsWith(u"Interface"_s)) << qPrintable(name) << ' ' << length;
        }
        test::writeFile(pathOf(name), "\x7f"
                                      "ELF garbage, not a layout");
        EXPECT_TRUE(reasonOf(loadAll).startsWith(u"Interface"_s)) << qPrintable(name);
        test::writeFile(pathOf(name), contents);
    }
}

TEST_F(InterfaceFileTest, RaisesForEachOutletThatIsMissingTwiceThereOrOfAnotherClass) {
    const QRegularExpression named(u"<widget class=\"(\\w+)\" name=\"(\\w+)\""_s);
    for (const QString& name : {u"QNErrorController"_s, u"QNAlertController"_s, u"QNMainController"_s}) {
        const QByteArray contents = test::readFile(pathOf(name));
        auto matches = named.globalMatch(QString::fromUtf8(contents));
        int outlets = 0;
        while (matches.hasNext()) {
            const auto match = matches.next();
            if (match.captured(2) == u"connectingSpinner"_s || match.captured(2) == u"card"_s) {
                continue; // placed by the layout alone
            }
            ++outlets;
            QByteArray renamed = contents;
            renamed.replace(match.captured(0).toUtf8(),
                            "<widget class=\"" + match.captured(1).toUtf8() + "\" name=\"other\"");
            test::writeFile(pathOf(name), renamed);
            EXPECT_TRUE(reasonOf(loadAll).contains(u"0 objects named \"%1\""_s.arg(match.captured(2))))
                << qPrintable(match.captured(2));
            QByteArray other = contents;
            other.replace(match.captured(0).toUtf8(),
                          "<widget class=\"QWidget\" name=\"" + match.captured(2).toUtf8() + "\"");
            test::writeFile(pathOf(name), other);
            EXPECT_FALSE(reasonOf(loadAll).isEmpty()) << qPrintable(match.captured(2));
        }
        EXPECT_GE(outlets, 7);
        test::writeFile(pathOf(name), contents);
    }
    replace(u"QNErrorController"_s, "<widget class=\"QNButton\" name=\"retryButton\">",
            "<widget class=\"QNButton\" name=\"closeButton\">");
    EXPECT_TRUE(reasonOf(loadAll).contains(u"objects named \"retryButton\""_s) ||
                reasonOf(loadAll).contains(u"2 objects named \"closeButton\""_s));
}

TEST_F(InterfaceFileTest, RaisesForAClassThatIsNotOnTheList) {
    for (const QByteArray& foreign : {QByteArray("QPushButton"), QByteArray("QWebView"), QByteArray("Unknown")}) {
        const QByteArray contents = test::readFile(pathOf(u"QNMainController"_s));
        replace(u"QNMainController"_s, "<widget class=\"QNSpinner\"", "<widget class=\"" + foreign + "\"");
        EXPECT_EQ(reasonOf([] { loadInterfaceFile(u"QNMainController"_s); }),
                  u"Interface file \"QNMainController\": line 16, <widget>: unknown class "_s +
                      QString::fromLatin1(foreign));
        test::writeFile(pathOf(u"QNMainController"_s), contents);
    }
}
