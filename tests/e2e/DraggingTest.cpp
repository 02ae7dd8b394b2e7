#include "tests/e2e/InstallerRun.h"
#include "tests/platform/ManagedDisplay.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QPoint>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

using namespace Qt::StringLiterals;

void PrintTo(ManagedDisplay::Manager manager, std::ostream* stream) {
    *stream << (manager == ManagedDisplay::Manager::kNow ? "openbox" : "none");
}

// The display's own pointer on the program's own window, with a window manager, to which moving is left, and without.

namespace {

QString tool(const QStringList& arguments) {
    QProcess xdotool;
    xdotool.start(u"xdotool"_s, arguments);
    EXPECT_TRUE(xdotool.waitForFinished());
    return QString::fromUtf8(xdotool.readAllStandardOutput());
}

void movePointer(const QPoint& point) {
    tool({u"mousemove"_s, QString::number(point.x()), QString::number(point.y())});
}

// In the window, on the error screen.
constexpr QPoint kBackground{30, 20};
constexpr QPoint kBesideTheIcon{100, 130};
constexpr QPoint kCross{612, 28};
constexpr QPoint kHeadline{320, 235};
constexpr QPoint kLink{370, 462};
constexpr QPoint kCloseButton{200, 410};

class Dragging : public testing::TestWithParam<ManagedDisplay::Manager> {
protected:
    void SetUp() override {
        run_.setEnvironment(u"LANG"_s, u"en_US.UTF-8"_s);
        run_.expectConfiguration("<html>maintenance</html>");
        run_.start();
        ASSERT_TRUE(run_.waitForMessage(u"Show generic error screen."_s));
        // A window manager puts it in its place in its own time.
        std::optional<QPoint> last;
        ASSERT_TRUE(test::waitFor([&] {
            const auto now = corner();
            const bool same = now && now == last;
            last = now;
            return same;
        }));
    }

    // Of the visible window, on the display; absent while there is none.
    static std::optional<QPoint> corner() {
        const QString answer =
            tool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Kit$"_s, u"getwindowgeometry"_s, u"--shell"_s});
        static const QRegularExpression pattern(u"^X=(-?\\d+)\nY=(-?\\d+)$"_s, QRegularExpression::MultilineOption);
        const QRegularExpressionMatch match = pattern.match(answer);
        return match.hasMatch() ? std::optional(QPoint(match.captured(1).toInt(), match.captured(2).toInt()))
                                : std::nullopt;
    }

    // Holds the button at `grip`, moves the pointer and lets go. Where the window is then, which was at `start`.
    //
    // Whoever moves the window takes the pointer in its own time, and counts from where it is by then: so it only
    // trembles until the window does, too, and the way may come out a point off.
    static QPoint dragFrom(const QPoint& start, const QPoint& grip, const QPoint& way) {
        movePointer(start + grip);
        tool({u"mousedown"_s, u"1"_s});
        bool aside = false;
        EXPECT_TRUE(test::waitFor([&] {
            aside = !aside;
            movePointer(start + grip + (aside ? QPoint(1, 1) : QPoint()));
            return corner() != start;
        }));
        movePointer(start + grip + way);
        QPoint end;
        EXPECT_TRUE(test::waitFor([&] {
            end = corner().value_or(QPoint());
            const QPoint off = end - start - way;
            return std::abs(off.x()) <= 1 && std::abs(off.y()) <= 1;
        })) << end.x()
            << ',' << end.y();
        tool({u"mouseup"_s, u"1"_s});
        return end;
    }
    static void clickAt(const QPoint& point) {
        movePointer(point);
        tool({u"click"_s, u"1"_s});
    }
    // Far enough to be released beside whatever was taken.
    static void pullFrom(const QPoint& start, const QPoint& grip) {
        movePointer(start + grip);
        tool({u"mousedown"_s, u"1"_s});
        for (int step = 1; step <= 10; ++step) {
            movePointer(start + grip + QPoint(-10 * step, -10 * step));
        }
        tool({u"mouseup"_s, u"1"_s});
    }

    ManagedDisplay display_{GetParam()};
    InstallerRun run_;
};

} // namespace

TEST_P(Dragging, MovesTheWindowByItsBackgroundAndByPlainTextUntilTheButtonIsReleased) {
    const QPoint first = dragFrom(corner().value(), kBackground, {40, -25});
    // Let go of, the window stays; taken again, it goes on from there.
    movePointer(first + QPoint(300, 300));
    const QPoint second = dragFrom(first, kBesideTheIcon, {-70, 35});
    movePointer(second + QPoint(300, 300));
    EXPECT_EQ(corner(), second);
    dragFrom(second, kHeadline, {25, 15});
}

TEST_P(Dragging, LeavesTheWindowWhereItIsFromAButtonOrALink) {
    const QPoint start = corner().value();
    for (const QPoint& grip : {kCloseButton, kCross, kLink}) {
        pullFrom(start, grip);
    }
    // All of that has been seen once this has, and it begins where the window was.
    const QPoint end = dragFrom(start, kBackground, {20, 10});
    EXPECT_EQ(run_.openedAddresses(0), QStringList()) << "a link counts where the button is released";
    // These are where they were taken for.
    clickAt(end + kLink);
    EXPECT_EQ(run_.openedAddresses(1), QStringList{u"https://help.example.com/installer"_s});
    clickAt(end + kCloseButton);
    EXPECT_TRUE(run_.waitForEnd());
}

INSTANTIATE_TEST_SUITE_P(, Dragging, testing::Values(ManagedDisplay::Manager::kNow, ManagedDisplay::Manager::kLater),
                         [](const auto& tested) {
                             return tested.param == ManagedDisplay::Manager::kNow ? "WithAWindowManager"
                                                                                  : "WithoutAWindowManager";
                         });
