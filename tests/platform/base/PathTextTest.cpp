#include "platform/base/PathText.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(PathText, GivesExtensionComponentAndFolderOfPlainText) {
    struct Row {
        QString path, extension, last, folder;
    };
    const Row rows[] = {
        {u"https://h/p/a.dmg?x=1"_s, u"dmg?x=1"_s, u"a.dmg?x=1"_s, u"https://h/p"_s},
        {u"https://h/get?f=a.dmg"_s, u"dmg"_s, u"get?f=a.dmg"_s, u"https://h"_s},
        {u"x/a.dmg/"_s, u"dmg"_s, u"a.dmg"_s, u"x"_s},
        {u"x/.dmg"_s, u""_s, u".dmg"_s, u"x"_s},
        {u".dmg"_s, u""_s, u".dmg"_s, u""_s},
        {u"a."_s, u""_s, u"a."_s, u""_s},
        {u"a"_s, u""_s, u"a"_s, u""_s},
        {u".."_s, u""_s, u".."_s, u""_s},
        {u""_s, u""_s, u""_s, u""_s},
        {u"a.tar.gz"_s, u"gz"_s, u"a.tar.gz"_s, u""_s},
        {u"/"_s, u""_s, u"/"_s, u"/"_s},
        {u"/a"_s, u""_s, u"a"_s, u"/"_s},
        {u"/tmp/x y/CFNetworkDownload_1.tmp"_s, u"tmp"_s, u"CFNetworkDownload_1.tmp"_s, u"/tmp/x y"_s},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(PathText::pathExtension(row.path), row.extension) << row.path.toStdString();
        EXPECT_EQ(PathText::lastPathComponent(row.path), row.last) << row.path.toStdString();
        EXPECT_EQ(PathText::deletingLastPathComponent(row.path), row.folder) << row.path.toStdString();
    }
}

TEST(PathText, EscapesWhatAnAddressCannotHoldAndPercentAlways) {
    EXPECT_EQ(PathText::percentEscaped(u"/x y/50%"_s), u"/x%20y/50%25"_s);
    EXPECT_EQ(PathText::percentEscaped(u"/a+b&c;d"_s), u"/a+b&c;d"_s);
    EXPECT_EQ(PathText::percentEscaped(u"-._~!$&'()*+,/:;=?@"_s), u"-._~!$&'()*+,/:;=?@"_s);
    EXPECT_EQ(PathText::percentEscaped(u"\"#%<>[\\]^`{|}ü"_s), u"%22%23%25%3C%3E%5B%5C%5D%5E%60%7B%7C%7D%C3%BC"_s);
}

TEST(PathText, TrimsBlanksButNoLineEnds) {
    EXPECT_EQ(PathText::trimmedOfWhitespace(u" \t\u00a0\u3000a b\n \t"_s), u"a b\n"_s);
    EXPECT_EQ(PathText::trimmedOfWhitespace(u" \t "_s), u""_s);
    EXPECT_EQ(PathText::trimmedOfWhitespace(u"\r\n"_s), u"\r\n"_s);
}

TEST(PathText, TrimsLineEndsTooWhereAsked) {
    EXPECT_EQ(PathText::trimmedOfWhitespaceAndNewlines(u"\r\n\v\f\u0085\u2028\u2029 a \n"_s), u"a"_s);
}

TEST(PathText, LeadsBackToTheBytesOfEveryPath) {
    EXPECT_EQ(PathText::fromKernel("/h/\xC3\xA4"), u"/h/ä"_s);
    EXPECT_EQ(PathText::toKernel(u"/h/ä\U0001F600"_s), "/h/\xC3\xA4\xF0\x9F\x98\x80");
    const std::vector<QByteArray> foreign{"/\xFF",         "/m\xFCller",           "\x80", "/\xC3", "/\xE2\x82/\xAC",
                                          "/\xED\xB2\x80", "/\xF0\x9F\x98\x80\xFE"};
    for (const QByteArray& path : foreign) {
        EXPECT_FALSE(PathText::fromKernel(path).isValidUtf16()) << path.toHex().toStdString();
        EXPECT_EQ(PathText::toKernel(PathText::fromKernel(path)), path) << path.toHex().toStdString();
    }
}
