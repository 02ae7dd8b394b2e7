#include "platform/base/NotificationCenter.h"
#include "platform/base/PlatformException.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QString kName = u"NAME"_s;

NotificationCenter& center() {
    return NotificationCenter::defaultCenter();
}

} // namespace

TEST(NotificationCenter, CallsObserversInTheOrderOfRegistrationBeforeThePostReturns) {
    QStringList calls;
    center().addObserver(kName, [&](const Notification&) { calls += u"first"_s; });
    center().addObserver(kName, [&](const Notification&) { calls += u"second"_s; });
    center().post(kName);
    EXPECT_EQ(calls, (QStringList{u"first"_s, u"second"_s}));
}

TEST(NotificationCenter, CallsAnObserverAddedTwiceTwice) {
    int calls = 0;
    const auto observer = [&](const Notification&) { ++calls; };
    center().addObserver(kName, observer);
    center().addObserver(kName, observer);
    center().post(kName);
    EXPECT_EQ(calls, 2);
}

TEST(NotificationCenter, DoesNotCallAnObserverForThePostThatAddsIt) {
    int calls = 0;
    center().addObserver(
        kName, [&](const Notification&) { center().addObserver(kName, [&](const Notification&) { ++calls; }); });
    center().post(kName);
    EXPECT_EQ(calls, 0);
    center().post(kName);
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, FiltersBySenderPointerNotByEqualValue) {
    const int sender = 0;
    const int other = 0;
    int calls = 0;
    center().addObserver(
        kName, [&](const Notification&) { ++calls; }, &sender);
    center().post(kName, static_cast<const void*>(&other));
    center().post(kName, u"text"_s);
    center().post(kName);
    EXPECT_EQ(calls, 0);
    center().post(kName, static_cast<const void*>(&sender));
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, StopsAtAnExceptionAndLetsItReachThePoster) {
    int calls = 0;
    center().addObserver(kName, [](const Notification&) { throw PlatformException::range(u"r"_s); });
    center().addObserver(kName, [&](const Notification&) { ++calls; });
    EXPECT_THROW(center().post(kName), PlatformException);
    EXPECT_EQ(calls, 0);
}

TEST(NotificationCenter, DeliversObjectAndUserInfo) {
    Notification seen;
    center().addObserver(kName, [&](const Notification& notification) { seen = notification; });
    center().post(kName, QVariantMap{{u"link"_s, u"x"_s}}, {{u"item"_s, 1}});
    EXPECT_EQ(seen.name, kName);
    EXPECT_EQ(std::get<QVariantMap>(seen.object), (QVariantMap{{u"link"_s, u"x"_s}}));
    EXPECT_EQ(seen.userInfo, (QVariantMap{{u"item"_s, 1}}));
}

TEST(NotificationCenter, TakesNamesWithoutObservers) {
    EXPECT_NO_THROW(center().post(u"UNKNOWN"_s));
}

TEST(NotificationCenter, DeliversOnThePostingThread) {
    std::thread::id seen;
    center().addObserver(kName, [&](const Notification&) { seen = std::this_thread::get_id(); });
    std::thread poster([] { center().post(kName); });
    const std::thread::id expected = poster.get_id();
    poster.join();
    EXPECT_EQ(seen, expected);
}

TEST(NotificationCenter, MayBeUsedFromTwoThreadsAtOnce) {
    std::thread adder([] {
        for (int index = 0; index < 200; ++index) {
            center().addObserver(kName, [](const Notification&) {});
        }
    });
    for (int index = 0; index < 200; ++index) {
        center().post(kName);
    }
    adder.join();
}

TEST(NotificationCenter, DescribesANotificationWithItsNameAndObject) {
    EXPECT_EQ(describe(Notification{u"N"_s, {}, {}}), u"NSConcreteNotification {name = N; object = (null)}"_s);
    EXPECT_EQ(describe(Notification{u"N"_s, u"text"_s, {}}), u"NSConcreteNotification {name = N; object = text}"_s);
}
