#include "platform/linux/SessionBus.h"

#include <gtest/gtest.h>

TEST(BusName, IsTheIdentifierWhereThatIsWellFormed) {
    EXPECT_EQ(platform::busNameFor(QStringLiteral("com.example.Installer")), QStringLiteral("com.example.Installer"));
    EXPECT_EQ(platform::busNameFor(QStringLiteral("com.ex-ample.a_b")), QStringLiteral("com.ex-ample.a_b"));
}

TEST(BusName, IsMendedWhereTheIdentifierIsNoName) {
    EXPECT_EQ(platform::busNameFor(QStringLiteral("com.3d.My App")), QStringLiteral("com._3d.My_App"));
    EXPECT_EQ(platform::busNameFor(QStringLiteral("Installer")), QStringLiteral("application.Installer"));
    EXPECT_EQ(platform::busNameFor(QStringLiteral("com..x")), QStringLiteral("com._.x"));
    EXPECT_EQ(platform::busNameFor(QString()), QStringLiteral("application._"));
    EXPECT_EQ(platform::busNameFor(QStringLiteral("com.Ü")), QStringLiteral("com._"));
    EXPECT_EQ(platform::busNameFor(QString(400, u'a')).size(), 255);
}

TEST(ObjectPath, FollowsTheBusName) {
    EXPECT_EQ(platform::objectPathFor(QStringLiteral("com.ex-ample.a_b")), QStringLiteral("/com/ex_ample/a_b"));
}
