#include "platform/base/Address.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct Row {
    QString text;
    std::optional<QString> scheme;
    std::optional<QString> host;
};

} // namespace

TEST(Address, TakesSchemeAndHostAsTheyAreWritten) {
    const Row rows[] = {
        {u"HTTP://Host/P"_s, u"HTTP"_s, u"Host"_s},
        {u"http:/x"_s, u"http"_s, std::nullopt},
        {u"http:///x"_s, u"http"_s, std::nullopt},
        {u"http://"_s, u"http"_s, std::nullopt},
        {u"file:///x"_s, u"file"_s, std::nullopt},
        {u"mailto:a@b"_s, u"mailto"_s, std::nullopt},
        {u"localhost:8080"_s, u"localhost"_s, std::nullopt},
        {u"//h/x"_s, std::nullopt, u"h"_s},
        {u"/p"_s, std::nullopt, std::nullopt},
        {u"word"_s, std::nullopt, std::nullopt},
        {u"-psn_0_1"_s, std::nullopt, std::nullopt},
        {u"http://[::1]:80/c"_s, u"http"_s, u"::1"_s},
        {u"http://:80/"_s, u"http"_s, u""_s},
        {u"http://user:secret@h:8080/p?q#f"_s, u"http"_s, u"h"_s},
        {u"http://h?q"_s, u"http"_s, u"h"_s},
        {u"scheme://x"_s, u"scheme"_s, u"x"_s},
        {u"1http://x"_s, std::nullopt, std::nullopt},
        {u"http://h/%41"_s, u"http"_s, u"h"_s},
        {u"http://h:99999/"_s, u"http"_s, u"h"_s},
    };
    for (const Row& row : rows) {
        const std::optional<Address> address = Address::parse(row.text);
        ASSERT_TRUE(address) << row.text.toStdString();
        EXPECT_EQ(address->text, row.text);
        EXPECT_EQ(address->scheme, row.scheme) << row.text.toStdString();
        EXPECT_EQ(address->host, row.host) << row.text.toStdString();
    }
}

TEST(Address, RefusesTextsThatTheClassicParserRefuses) {
    for (const QString& text : {u""_s, u"http://h/a b"_s, u"http://h/ü"_s, u"http://h/%zz"_s, u"http://h/%4"_s,
                                u"http://h/#a#b"_s, u"http://h/`"_s, u"http://h/<x>"_s, u"http://h/\n"_s, u"%"_s,
                                u"http://h/{a}"_s, u"http://h/a|b"_s, u"http://h/\\"_s, u"http://h/^"_s}) {
        EXPECT_FALSE(Address::parse(text)) << text.toStdString();
    }
}

TEST(Address, RefusesOneZeroUnit) {
    EXPECT_FALSE(Address::parse(u"http://h/"_s + QChar(0)));
}
