#include "platform/base/SuggestedFilename.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct Row {
    std::optional<QByteArray> disposition;
    QString address;
    QString type;
    QString name;
};

void expectRows(const std::vector<Row>& rows) {
    for (const auto& row : rows) {
        EXPECT_EQ(SuggestedFilename::of(row.disposition, row.address, row.type), row.name)
            << row.disposition.value_or("no header").constData() << " " << row.address.toStdString() << " "
            << row.type.toStdString();
    }
}

const QString kHost = u"http://h/p/url.bin"_s;

} // namespace

TEST(SuggestedFilename, IsTheLastComponentOfTheAddressWithoutAHeader) {
    expectRows({
        {{}, u"https://h/p/Setup.dmg?k=v"_s, {}, u"Setup.dmg"_s},
        {{}, u"https://h/p/Setup.dmg#part"_s, {}, u"Setup.dmg"_s},
        {{}, u"https://h/p/Setup.dmg?a=/b/c.zip"_s, {}, u"Setup.dmg"_s},
        {{}, u"https://h/p/Kit%204.dmg"_s, {}, u"Kit 4.dmg"_s},
        {{}, u"https://h/p/%C3%9C.dmg"_s, {}, u"Ü.dmg"_s},
        {{}, u"https://h/p/%DC.dmg"_s, {}, u"Ü.dmg"_s},
        {{}, u"https://h/p/a%2Fb"_s, {}, u"a_b"_s},
        {{}, u"https://h/p/%2e%2e%2fb"_s, {}, u".._b"_s},
        {{}, u"https://h/folder/"_s, {}, u"folder"_s},
        {{}, u"file:///p/Kit.dmg"_s, {}, u"Kit.dmg"_s},
    });
}

TEST(SuggestedFilename, IsUnknownWhenNothingNamesTheFile) {
    expectRows({
        {{}, u"https://h"_s, {}, u"Unknown"_s},
        {{}, u"https://h/"_s, {}, u"Unknown"_s},
        {{}, u"https://h?x=y/z"_s, {}, u"Unknown"_s},
        {{}, u"https://h/a/.."_s, {}, u"Unknown"_s},
        {{}, u"https://h/%2E"_s, {}, u"Unknown"_s},
        {{}, u"https://h/%00"_s, {}, u"Unknown"_s},
        {"attachment; filename=\"..\"", kHost, {}, u"Unknown"_s},
        {"attachment; filename=.", kHost, {}, u"Unknown"_s},
        {"attachment; filename=\"\x01\x02\"", kHost, {}, u"Unknown"_s},
    });
}

TEST(SuggestedFilename, IsTheNameOfTheHeader) {
    expectRows({
        {"attachment; filename=\"Kit 4.dmg\"", kHost, {}, u"Kit 4.dmg"_s},
        {"attachment; filename=Kit4.dmg", kHost, {}, u"Kit4.dmg"_s},
        {"attachment; filename=\"k;4.dmg\"", kHost, {}, u"k;4.dmg"_s},
        {"attachment; filename=\"a=b.dmg\"", kHost, {}, u"a=b.dmg"_s},
        {"attachment; filename=\"say \\\"hi\\\".dmg\"", kHost, {}, u"say \"hi\".dmg"_s},
        {"attachment; filename=one.dmg; filename=two.dmg", kHost, {}, u"one.dmg"_s},
        {"ATTACHMENT; FileName = Kit.dmg ", kHost, {}, u"Kit.dmg"_s},
        {"filename=Kit.dmg", kHost, {}, u"Kit.dmg"_s},
        {"attachment;filename=Kit.dmg;size=5", kHost, {}, u"Kit.dmg"_s},
    });
}

TEST(SuggestedFilename, ComesFromTheAddressWhenTheHeaderNamesNothing) {
    for (const char* header : {"", "inline", "attachment", "attachment; name=x", "attachment; filename",
                               "attachment; filename=", "attachment; filename=\"\"", ";;;", "=", "\""}) {
        EXPECT_EQ(SuggestedFilename::of(QByteArray(header), kHost, {}), u"url.bin"_s) << header;
    }
}

TEST(SuggestedFilename, NeverLeavesItsFolder) {
    expectRows({
        {"attachment; filename=\"/opt/kit.dmg\"", kHost, {}, u"_opt_kit.dmg"_s},
        {"attachment; filename=\"k/../v/kit\"", kHost, {}, u"k_.._v_kit"_s},
        {"attachment; filename=\"../../etc/passwd\"", kHost, {}, u".._.._etc_passwd"_s},
        {"attachment; filename*=UTF-8''..%2F..%2Fx", kHost, {}, u".._.._x"_s},
        {"attachment; filename=\"a\nb\tc\x7f.dmg\"", kHost, {}, u"abc.dmg"_s},
        {"attachment; filename*=UTF-8''a%0A%C2%85b", kHost, {}, u"ab"_s},
    });
}

TEST(SuggestedFilename, PrefersTheEncodedNameWhenItCanBeDecoded) {
    expectRows({
        {"attachment; filename*=UTF-8''%C3%9C.dmg", kHost, {}, u"Ü.dmg"_s},
        {"attachment; filename=plain.dmg; filename*=utf-8'de'%C3%9C.dmg", kHost, {}, u"Ü.dmg"_s},
        {"attachment; filename*=ISO-8859-1''%DC.dmg; filename=plain.dmg", kHost, {}, u"Ü.dmg"_s},
        {"attachment; filename=plain.dmg; filename*=UTF-8''%DC.dmg", kHost, {}, u"plain.dmg"_s},
        {"attachment; filename=plain.dmg; filename*=KOI8-R''%DC.dmg", kHost, {}, u"plain.dmg"_s},
        {"attachment; filename=plain.dmg; filename*=broken", kHost, {}, u"plain.dmg"_s},
    });
}

TEST(SuggestedFilename, ReadsRawBytesAsUtf8OrElseAsLatin1) {
    expectRows({
        {"attachment; filename=\"\xc3\x9c.dmg\"", kHost, {}, u"Ü.dmg"_s},
        {"attachment; filename=\"\xdc.dmg\"", kHost, {}, u"Ü.dmg"_s},
    });
}

TEST(SuggestedFilename, GetsTheExtensionOfItsTypeAppended) {
    expectRows({
        {"attachment; filename=notes", kHost, u"text/plain"_s, u"notes.txt"_s},
        {"attachment; filename=kit.v4", kHost, u"text/plain; charset=utf-8"_s, u"kit.v4.txt"_s},
        {"attachment; filename=kit.TXT", kHost, u"text/plain"_s, u"kit.TXT"_s},
        {"attachment; filename=page.htm", kHost, u"text/html"_s, u"page.htm"_s},
        {"attachment; filename=X.dmg", kHost, u"Text/HTML"_s, u"X.dmg.html"_s},
        {"attachment; filename=X", kHost, u"application/x-apple-diskimage"_s, u"X.dmg"_s},
        {"attachment; filename=X.dmg", kHost, u"application/x-apple-diskimage"_s, u"X.dmg"_s},
        {"attachment; filename=X", kHost, u"application/octet-stream"_s, u"X"_s},
        {"attachment; filename=X", kHost, u"application/x-unheard-of"_s, u"X"_s},
        {"attachment; filename=X", kHost, QString(), u"X"_s},
        {{}, u"http://h/"_s, u"text/html"_s, u"Unknown.html"_s},
    });
}

TEST(SuggestedFilename, HasAtMost255BytesAndKeepsItsExtension) {
    const QString extension = u".dmg"_s;
    EXPECT_EQ(SuggestedFilename::cleaned(QString(251, u'a') + extension), QString(251, u'a') + extension);
    EXPECT_EQ(SuggestedFilename::cleaned(QString(252, u'a') + extension), QString(251, u'a') + extension);
    // Two bytes each: an odd number of bytes leaves no room for a half.
    EXPECT_EQ(SuggestedFilename::cleaned(QString(300, u'ü') + extension), QString(125, u'ü') + extension);
    EXPECT_EQ(SuggestedFilename::cleaned(QString(300, u'a')), QString(255, u'a'));
    // A tail that long is no extension.
    EXPECT_EQ(SuggestedFilename::cleaned(u"a."_s + QString(300, u'b')), u"a."_s + QString(253, u'b'));
    const QString typed = SuggestedFilename::of({}, u"http://h/"_s + QString(255, u'a'), u"text/html"_s);
    EXPECT_EQ(typed, QString(250, u'a') + u".html"_s);
    // Four bytes each, two units.
    const QString kite = QString::fromUtf8("\xF0\x9F\xAA\x81");
    EXPECT_EQ(SuggestedFilename::cleaned(kite.repeated(100)), kite.repeated(63));
}

TEST(SuggestedFilename, SurvivesEveryByteAndEveryPrefixOfAHeader) {
    const QByteArray header = "attachment; filename=\"a\\\"b\"; filename*=UTF-8'en'%C3%9C%2F..";
    for (qsizetype length = 0; length <= header.size(); ++length) {
        EXPECT_FALSE(SuggestedFilename::of(header.left(length), kHost, {}).contains(u'/')) << length;
    }
    for (int byte = 0; byte < 256; ++byte) {
        const QByteArray odd = "attachment; filename=" + QByteArray(3, static_cast<char>(byte));
        const QString name = SuggestedFilename::of(odd, kHost, {});
        EXPECT_FALSE(name.isEmpty()) << byte;
        EXPECT_FALSE(name.contains(u'/')) << byte;
    }
}
