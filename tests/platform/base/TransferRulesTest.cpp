#include "platform/base/AddressPath.h"
#include "platform/base/CurlErrors.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/MediaTypes.h"
#include "platform/base/TransferClock.h"
#include "platform/base/UserAgent.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

TEST(CurlErrors, AreCalledByThePlatformsCodes) {
    struct Row {
        CURLcode code;
        long systemError;
        bool hasRoute;
        int expected;
    };
    const Row rows[] = {
        {CURLE_URL_MALFORMAT, 0, true, -1002},
        {CURLE_COULDNT_RESOLVE_HOST, 0, true, -1003},
        {CURLE_COULDNT_RESOLVE_PROXY, 0, true, -1003},
        {CURLE_COULDNT_RESOLVE_HOST, 0, false, -1009},
        {CURLE_COULDNT_CONNECT, ECONNREFUSED, true, -1004},
        {CURLE_COULDNT_CONNECT, ECONNREFUSED, false, -1004},
        {CURLE_COULDNT_CONNECT, ENETUNREACH, true, -1009},
        {CURLE_COULDNT_CONNECT, EHOSTUNREACH, true, -1009},
        {CURLE_COULDNT_CONNECT, ENETDOWN, true, -1009},
        {CURLE_OPERATION_TIMEDOUT, 0, true, -1001},
        {CURLE_GOT_NOTHING, 0, true, -1005},
        {CURLE_PARTIAL_FILE, 0, true, -1005},
        {CURLE_RECV_ERROR, 0, true, -1005},
        {CURLE_SEND_ERROR, 0, true, -1005},
        {CURLE_TOO_MANY_REDIRECTS, 0, true, -1007},
        {CURLE_PEER_FAILED_VERIFICATION, 0, true, -1202},
        {CURLE_SSL_ISSUER_ERROR, 0, true, -1202},
        {CURLE_SSL_CONNECT_ERROR, 0, true, -1200},
        {CURLE_SSL_CACERT_BADFILE, 0, true, -1200},
        {CURLE_SSL_CIPHER, 0, true, -1200},
        {CURLE_ABORTED_BY_CALLBACK, 0, true, -999},
        {CURLE_BAD_CONTENT_ENCODING, 0, true, -1011},
        {CURLE_WEIRD_SERVER_REPLY, 0, true, -1011},
        {CURLE_UNSUPPORTED_PROTOCOL, 0, true, -1011},
        {CURLE_OUT_OF_MEMORY, 0, true, -1103},        // a line of the head beyond the limit of libcurl
        {static_cast<CURLcode>(100), 0, true, -1103}, // the same since 8.6
        {CURLE_READ_ERROR, 0, true, -1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(platform::transportErrorCode(row.code, row.systemError, row.hasRoute), row.expected)
            << "code " << row.code << " " << row.systemError;
    }
}

TEST(HttpRedirect, FollowsFiveStatuses) {
    for (const long status : {301L, 302L, 303L, 307L, 308L}) {
        EXPECT_TRUE(HttpRedirect::isRedirect(status)) << status;
    }
    for (const long status : {0L, 200L, 201L, 300L, 304L, 305L, 306L, 309L, 400L}) {
        EXPECT_FALSE(HttpRedirect::isRedirect(status)) << status;
    }
}

TEST(HttpRedirect, ChangesTheMethodWhereTheStatusSaysSo) {
    struct Row {
        long status;
        QString method;
        QString next;
    };
    const Row rows[] = {
        {301, u"GET"_s, u"GET"_s}, {301, u"POST"_s, u"GET"_s}, {302, u"POST"_s, u"GET"_s},  {303, u"POST"_s, u"GET"_s},
        {303, u"PUT"_s, u"GET"_s}, {301, u"PUT"_s, u"PUT"_s},  {307, u"POST"_s, u"POST"_s}, {308, u"POST"_s, u"POST"_s},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(HttpRedirect::methodAfter(row.status, row.method), row.next)
            << row.status << " " << row.method.toStdString();
    }
}

TEST(HttpRedirect, NeverLeavesTlsNorHttp) {
    EXPECT_TRUE(HttpRedirect::mayFollow(u"http://a/"_s, u"http://b/"_s));
    EXPECT_TRUE(HttpRedirect::mayFollow(u"http://a/"_s, u"https://b/"_s));
    EXPECT_TRUE(HttpRedirect::mayFollow(u"https://a/"_s, u"HTTPS://b/"_s));
    EXPECT_FALSE(HttpRedirect::mayFollow(u"https://a/"_s, u"http://b/"_s));
    EXPECT_FALSE(HttpRedirect::mayFollow(u"HTTPS://a/"_s, u"http://b/"_s));
    for (const char* target : {"ftp://b/", "file:///etc/passwd", "data:,x", "", "b", "//b/"}) {
        EXPECT_FALSE(HttpRedirect::mayFollow(u"http://a/"_s, QString::fromLatin1(target))) << target;
    }
}

TEST(MediaTypes, KnowExtensionsBothWays) {
    EXPECT_EQ(MediaTypes::withoutParameters(u" text/html ; charset=utf-8"_s), u"text/html"_s);
    EXPECT_EQ(MediaTypes::preferredExtension(u"TEXT/HTML"_s), u"html"_s);
    EXPECT_EQ(MediaTypes::preferredExtension(u"application/zip"_s), u"zip"_s);
    EXPECT_EQ(MediaTypes::preferredExtension(u"image/gif"_s), u"gif"_s);
    EXPECT_EQ(MediaTypes::preferredExtension(u"application/octet-stream"_s), std::nullopt);
    EXPECT_EQ(MediaTypes::preferredExtension(QString()), std::nullopt);
    EXPECT_TRUE(MediaTypes::carries(u"image/jpeg"_s, u"JPG"_s));
    EXPECT_FALSE(MediaTypes::carries(u"image/jpeg"_s, u"png"_s));
    EXPECT_EQ(MediaTypes::forExtension(u"DMG"_s), u"application/x-apple-diskimage"_s);
    EXPECT_EQ(MediaTypes::forExtension(u"xml"_s), u"application/xml"_s);
    EXPECT_EQ(MediaTypes::forExtension(u"exe"_s), u"application/octet-stream"_s);
    EXPECT_EQ(MediaTypes::forExtension(QString()), u"application/octet-stream"_s);
}

TEST(AddressPath, IsWhatStandsBetweenAuthorityAndQuery) {
    const std::pair<QString, QString> rows[] = {
        {u"http://h/p/q?r#s"_s, u"/p/q"_s},
        {u"http://h"_s, QString()},
        {u"http://h?p/q"_s, QString()},
        {u"file:///p%20q"_s, u"/p%20q"_s},
        {u"file:/p"_s, u"/p"_s},
        {u"file:p"_s, u"p"_s},
        {u"//h/p"_s, u"/p"_s},
        {u"/p:q"_s, u"/p:q"_s},
        {QString(), QString()},
        {u"http://[::1]:80/c"_s, u"/c"_s},
        {u"http://h/a:b"_s, u"/a:b"_s},
    };
    for (const auto& [address, path] : rows) {
        EXPECT_EQ(AddressPath::pathOf(address), path) << address.toStdString();
    }
    EXPECT_EQ(AddressPath::decodedPathOf(u"file:///p%20%C3%BC%00"_s), QByteArray("/p \xc3\xbc\0", 6));
}

TEST(TransferClock, RestartsAtEachByte) {
    const TransferClock::Time start{};
    TransferClock clock(100ms, 10s, start);
    EXPECT_TRUE(clock.mayGoOn(0, start + 99ms));
    EXPECT_TRUE(clock.mayGoOn(1, start + 99ms));
    EXPECT_TRUE(clock.mayGoOn(1, start + 198ms));
    EXPECT_FALSE(clock.mayGoOn(1, start + 199ms));
    EXPECT_TRUE(clock.hasExpired());
}

TEST(TransferClock, TakesABeginningAnewForAByte) {
    const TransferClock::Time start{};
    TransferClock clock(100ms, 10s, start);
    EXPECT_TRUE(clock.mayGoOn(500, start + 50ms));
    // The next hop of a redirect counts from nothing.
    EXPECT_TRUE(clock.mayGoOn(0, start + 120ms));
    EXPECT_TRUE(clock.mayGoOn(0, start + 219ms));
    EXPECT_FALSE(clock.mayGoOn(0, start + 220ms));
}

TEST(TransferClock, EndsWithTheWholeTimeHoweverManyBytesCome) {
    const TransferClock::Time start{};
    TransferClock clock(100ms, 1s, start);
    for (int tick = 1; tick < 20; ++tick) {
        EXPECT_TRUE(clock.mayGoOn(tick, start + tick * 50ms));
    }
    EXPECT_FALSE(clock.mayGoOn(20, start + 1s));
    EXPECT_FALSE(clock.mayGoOn(21, start + 1s));
}

TEST(UserAgent, IsNameAndVersionOfTheBundle) {
    EXPECT_EQ(platform::userAgent({{u"CFBundleName"_s, u"Kit Installer"_s},
                                   {u"CFBundleExecutable"_s, u"QNInstaller"_s},
                                   {u"CFBundleShortVersionString"_s, u"1.2"_s}}),
              "Kit%20Installer/1.2");
    EXPECT_EQ(
        platform::userAgent({{u"CFBundleExecutable"_s, u"QNInstaller"_s}, {u"CFBundleShortVersionString"_s, u"1.2"_s}}),
        "QNInstaller/1.2");
    EXPECT_EQ(platform::userAgent({{u"CFBundleName"_s, u"Kit"_s}}), "Kit");
    EXPECT_EQ(platform::userAgent({}), "QNInstaller");
    EXPECT_EQ(platform::userAgent({{u"CFBundleName"_s, u"a\r\nb: c"_s}}), "a%0D%0Ab%3A%20c");
}
