#include "platform/linux/SessionBus.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(BusName, IsTheIdentifierWhereThatIsWellFormed) {
    EXPECT_EQ(platform::busNameFor(u"com.example.Installer"_s), u"com.example.Installer"_s);
    EXPECT_EQ(platform::busNameFor(u"com.ex-ample.a_b"_s), u"com.ex-ample.a_b"_s);
}

TEST(BusName, IsMendedWhereTheIdentifierIsNoName) {
    EXPECT_EQ(platform::busNameFor(u"com.3d.My App"_s), u"com._3d.My_App"_s);
    EXPECT_EQ(platform::busNameFor(u"Installer"_s), u"application.Installer"_s);
    EXPECT_EQ(platform::busNameFor(u"com..x"_s), u"com._.x"_s);
    EXPECT_EQ(platform::busNameFor(QString()), u"application._"_s);
    EXPECT_EQ(platform::busNameFor(u"com.Ü"_s), u"com._"_s);
    EXPECT_EQ(platform::busNameFor(QString(400, u'a')).size(), 255);
}

TEST(ObjectPath, FollowsTheBusName) {
    EXPECT_EQ(platform::objectPathFor(u"com.ex-ample.a_b"_s), u"/com/ex_ample/a_b"_s);
}
