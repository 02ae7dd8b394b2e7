#include "platform/base/PropertyList.h"

#include <QDateTime>
#include <QTimeZone>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

QByteArray xml(const QByteArray& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
           body + "</plist>\n";
}

QByteArray binaryOf(const QByteArray& xmlBytes) {
    plist_t root = nullptr;
    plist_from_xml(xmlBytes.constData(), static_cast<uint32_t>(xmlBytes.size()), &root);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    const QByteArray binary(bytes, static_cast<qsizetype>(length));
    std::free(bytes);
    plist_free(root);
    return binary;
}

const QByteArray kSample = xml("<dict><key>text</key><string>a &amp; b</string><key>yes</key><true/>"
                               "<key>n</key><integer>42</integer><key>list</key><array><string>x</string></array>"
                               "<key>data</key><data>AAE=</data><key>r</key><real>0.5</real></dict>");

void expectSample(const std::optional<QVariant>& value) {
    ASSERT_TRUE(value);
    const QVariantMap map = value->toMap();
    EXPECT_EQ(map.value(u"text"_s), QVariant(u"a & b"_s));
    EXPECT_EQ(map.value(u"yes"_s), QVariant(true));
    EXPECT_EQ(map.value(u"n"_s), QVariant(qint64{42}));
    EXPECT_EQ(map.value(u"list"_s), QVariant(QVariantList{u"x"_s}));
    EXPECT_EQ(map.value(u"data"_s), QVariant(QByteArray("\0\1", 2)));
    EXPECT_EQ(map.value(u"r"_s), QVariant(0.5));
}

QByteArray bigEndian(quint64 value) {
    QByteArray bytes;
    for (int shift = 56; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

// A binary list of arrays, each holding `fanOut` references to the next one; the last object is a small integer.
QByteArray chainOfArrays(int length, int fanOut) {
    QByteArray bytes = "bplist00";
    QByteArray offsets;
    const auto note = [&] {
        const quint64 at = static_cast<quint64>(bytes.size());
        offsets += bigEndian(at).right(4);
    };
    for (int index = 0; index < length; ++index) {
        note();
        bytes += static_cast<char>(0xA0 | fanOut);
        for (int reference = 0; reference < fanOut; ++reference) {
            bytes += bigEndian(static_cast<quint64>(index) + 1).right(4);
        }
    }
    note();
    bytes += QByteArray("\x10\x01", 2);
    const quint64 table = static_cast<quint64>(bytes.size());
    return bytes + offsets + QByteArray(6, '\0') + QByteArray("\4\4", 2) + bigEndian(static_cast<quint64>(length) + 1) +
           bigEndian(0) + bigEndian(table);
}

} // namespace

TEST(PropertyList, ReadsXml) {
    expectSample(PropertyList::parse(kSample));
}

TEST(PropertyList, ReadsBinary) {
    expectSample(PropertyList::parse(binaryOf(kSample)));
}

TEST(PropertyList, ReadsDates) {
    const QByteArray date = xml("<date>2026-11-21T12:30:05Z</date>");
    const QDateTime expected(QDate(2026, 11, 21), QTime(12, 30, 5), QTimeZone::utc());
    EXPECT_EQ(PropertyList::parse(date), QVariant(expected));
    EXPECT_EQ(PropertyList::parse(binaryOf(date)), QVariant(expected));
}

TEST(PropertyList, RefusesGarbage) {
    for (const QByteArray& bytes : {QByteArray(), QByteArray("garbage"), QByteArray("<plist"), QByteArray("bplist00"),
                                    QByteArray(64, '\xFF'), QByteArray("bplist00") + QByteArray(40, '\xFF')}) {
        EXPECT_FALSE(PropertyList::parse(bytes)) << bytes.toStdString();
    }
}

TEST(PropertyList, SurvivesEveryTruncation) {
    for (const QByteArray& whole : {kSample, binaryOf(kSample)}) {
        for (qsizetype length = 0; length < whole.size(); ++length) {
            PropertyList::parse(whole.left(length));
        }
    }
}

TEST(PropertyList, SurvivesEveryChangedByteOfABinaryList) {
    const QByteArray whole = binaryOf(kSample);
    for (qsizetype at = 0; at < whole.size(); ++at) {
        for (const char changed : {'\0', '\x7F', '\xA1', '\xDF', '\xFF'}) {
            QByteArray bytes = whole;
            bytes[at] = changed;
            PropertyList::parse(bytes);
        }
    }
}

TEST(PropertyList, RefusesXmlNestedDeeperThanItsBoundAndTakesWhatIsWithin) {
    const auto nested = [](qsizetype depth) {
        return xml(QByteArray("<array>").repeated(depth) + QByteArray("</array>").repeated(depth));
    };
    EXPECT_TRUE(PropertyList::parse(nested(128)));
    EXPECT_FALSE(PropertyList::parse(nested(129)));
    EXPECT_FALSE(PropertyList::parse(nested(200'000)));
}

TEST(PropertyList, RefusesABinaryListNestedDeeperThanItsBound) {
    EXPECT_TRUE(PropertyList::parse(chainOfArrays(128, 1)));
    EXPECT_FALSE(PropertyList::parse(chainOfArrays(129, 1)));
    EXPECT_FALSE(PropertyList::parse(chainOfArrays(200'000, 1)));
}

TEST(PropertyList, RefusesABinaryListThatMultipliesItself) {
    EXPECT_FALSE(PropertyList::parse(chainOfArrays(60, 2)));
}

TEST(PropertyList, RefusesNulsInsideXmlTexts) {
    for (const QByteArray& text : {QByteArray("a\0b", 3), QByteArray("a&#0;b"), QByteArray("a&#x0;b"),
                                   QByteArray("a&#000;b"), QByteArray("a&#X00;b"), QByteArray("a&#;b")}) {
        EXPECT_FALSE(PropertyList::parse(xml("<string>" + text + "</string>"))) << text.toStdString();
        EXPECT_FALSE(PropertyList::parse(xml("<dict><key>" + text + "</key><true/></dict>"))) << text.toStdString();
    }
    EXPECT_EQ(PropertyList::parse(xml("<string>a&#8217;b</string>")), QVariant(u"a’b"_s));
}

TEST(PropertyList, RefusesNulsInsideBinaryTexts) {
    const QByteArray plain =
        binaryOf(xml("<dict><key>word</key><string>text</string><key>u</key><string>ü1</string></dict>"));
    ASSERT_TRUE(PropertyList::parse(plain));
    for (const QByteArray& part : {QByteArray("ord"), QByteArray("ext"), QByteArray("\0001", 2)}) {
        QByteArray damaged = plain;
        const qsizetype at = damaged.indexOf(part);
        ASSERT_GT(at, 0);
        damaged[at + part.size() - 1] = '\0';
        EXPECT_FALSE(PropertyList::parse(damaged)) << part.toStdString();
    }
}

TEST(PropertyList, RefusesABinaryListThatIsNoValueOfTheFormat) {
    const auto listOf = [](char object) {
        QByteArray bytes = "bplist00";
        bytes.append(object).append('\x08');                  // the object, and where it stands
        bytes.append(6, '\0').append("\x01\x01");             // sizes of offsets and references
        bytes.append(7, '\0').append('\x01').append(8, '\0'); // one object, which is the top
        return bytes.append(7, '\0').append('\x09');          // where the table of offsets stands
    };
    EXPECT_EQ(PropertyList::parse(listOf('\x09')), QVariant(true));
    EXPECT_EQ(PropertyList::parse(listOf('\0')), std::nullopt);
}

TEST(PropertyList, DoesNotExpandEntityBombs) {
    QByteArray bomb = "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">";
    for (char name = 'b'; name <= 'j'; ++name) {
        bomb += QByteArray("<!ENTITY ") + name + " \"" +
                QByteArray("&" + QByteArray(1, static_cast<char>(name - 1)) + ";").repeated(10) + "\">";
    }
    bomb += "]><plist version=\"1.0\"><string>&j;</string></plist>";
    const std::optional<QVariant> value = PropertyList::parse(bomb);
    EXPECT_LT(value.value_or(QVariant()).toString().size(), 100);
}
