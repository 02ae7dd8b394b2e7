#include "config/JSONReader.h"
#include "tests/support/QtPrinters.h"

#include <QStringEncoder>
#include <QVariantList>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;

namespace {

std::optional<QVariant> valueOf(const QByteArray& bytes) {
    const auto result = JSONReader::read(bytes);
    EXPECT_NE(result.value.has_value(), result.failure.has_value());
    return result.value;
}

QByteArray encoded(const QString& text, QStringConverter::Encoding encoding, bool withMark) {
    QStringEncoder encoder(encoding, withMark ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default);
    return encoder(text);
}

QByteArray nested(qsizetype levels) {
    return QByteArray(levels, '[') + QByteArray(levels, ']');
}

const QByteArray kDocument = R"({"userAction":[{"action":"install","isActive":"1","n":-1.5e3,"t":true,"z":null}],)"
                             R"("text":"\u00fc \"q\" \\ \ud83d\ude00"})";

} // namespace

TEST(JSONReader, ReadsEachKindOfValue) {
    const QVariantMap document = valueOf(kDocument)->toMap();
    EXPECT_EQ(document[u"text"_s].toString(), u"ü \"q\" \\ \U0001F600"_s);
    const QVariantMap entry = document[u"userAction"_s].toList().at(0).toMap();
    EXPECT_EQ(entry[u"action"_s], QVariant(u"install"_s));
    EXPECT_EQ(entry[u"n"_s], QVariant(-1500.0));
    EXPECT_EQ(entry[u"t"_s], QVariant(true));
    EXPECT_EQ(entry[u"z"_s].typeId(), QMetaType::Nullptr);
    EXPECT_TRUE(entry.contains(u"z"_s));
}

TEST(JSONReader, TakesAnyValueAtTheTop) {
    EXPECT_EQ(valueOf("5"), QVariant(5LL));
    EXPECT_EQ(valueOf(" \t\r\n[1] \n"), QVariant(QVariantList{1LL}));
    EXPECT_EQ(valueOf("\"text\""), QVariant(u"text"_s));
    EXPECT_EQ(valueOf("true"), QVariant(true));
    EXPECT_EQ(valueOf("null")->typeId(), QMetaType::Nullptr);
    EXPECT_EQ(valueOf("{}"), QVariant(QVariantMap()));
}

TEST(JSONReader, KeepsWholeNumbersExactUpToSixtyFourBits) {
    EXPECT_EQ(valueOf("9223372036854775807"), QVariant(std::numeric_limits<qint64>::max()));
    EXPECT_EQ(valueOf("-9223372036854775808"), QVariant(std::numeric_limits<qint64>::min()));
    EXPECT_EQ(valueOf("18446744073709551615"), QVariant(std::numeric_limits<quint64>::max()));
    // Values of both kinds with the same bits compare as equal: what tells them apart is their type.
    EXPECT_EQ(valueOf("9223372036854775807")->typeId(), QMetaType::LongLong);
    EXPECT_EQ(valueOf("9223372036854775808")->typeId(), QMetaType::ULongLong);
    EXPECT_EQ(valueOf("18446744073709551615")->toString(), u"18446744073709551615"_s);
}

TEST(JSONReader, LetsTheFirstOfTwoEqualKeysCount) {
    EXPECT_EQ(valueOf(R"({"a":1,"a":{"b":[2]},"a":3})"), QVariant(QVariantMap{{u"a"_s, 1LL}}));
}

TEST(JSONReader, RefusesWhatIsNoJson) {
    const QByteArray table[] = {
        "",
        " ",
        "\n\t ",
        "{",
        "[",
        "[1,]",
        "{\"a\":1,}",
        "[,]",
        "[1,,2]",
        "{\"a\"}",
        "{a:1}",
        "{'a':1}",
        "'x'",
        "NaN",
        "Infinity",
        "-",
        "01",
        ".5",
        "1.",
        "+1",
        "1e",
        "0x10",
        "tru",
        "nulll",
        "[1]]",
        "{} {}",
        "1 2",
        "\"open",
        "\"\\x\"",
        "\"\\u12\"",
        "\"\\ud800\"",
        "\"\\udc00x\"",
        "\"a\tb\"",
        "\"a\nb\"",
        "\"a\x01\"",
        "// c\n1",
        "/* c */ 1",
        "1e999",
        "[-1e999]",
        "<html></html>",
        "\xFF",
        "\"\xC3\x28\"",
        "\"\xC0\x80\"",
        "\"\xED\xA0\x80\"",
        "\"\xF5\x80\x80\x80\"",
        "]",
        ":",
        ",",
    };
    for (const auto& bytes : table) {
        EXPECT_EQ(valueOf(bytes), std::nullopt) << bytes.toStdString();
    }
}

TEST(JSONReader, RefusesAZeroByteInsteadOfEndingThere) {
    EXPECT_EQ(valueOf(QByteArray("{}\0", 3)), std::nullopt);
    EXPECT_EQ(valueOf(QByteArray("{}\0{}", 5)), std::nullopt);
    EXPECT_EQ(valueOf(QByteArray("\0", 1)), std::nullopt);
}

TEST(JSONReader, ReadsFiveHundredAndTwelveLevelsAndNoMore) {
    EXPECT_EQ(JSONReader::kDeepestNesting, 512);
    EXPECT_TRUE(valueOf(nested(512)));
    EXPECT_EQ(valueOf(nested(513)), std::nullopt);
    EXPECT_EQ(JSONReader::read(nested(513)).failure, u"The document nests deeper than 512 levels."_s);
    EXPECT_EQ(valueOf(QByteArray(10'000'000, '[')), std::nullopt);
    EXPECT_EQ(valueOf(QByteArray("{\"a\":").repeated(1'000'000)), std::nullopt);
}

TEST(JSONReader, SkipsAByteOrderMark) {
    EXPECT_EQ(valueOf("\xEF\xBB\xBF{\"a\":1}"), QVariant(QVariantMap{{u"a"_s, 1LL}}));
}

TEST(JSONReader, ReadsWideEncodingsWithAndWithoutAMark) {
    const QString text = u"{\"ключ\":\"ü\U0001F600\"}"_s;
    const QVariant expected(QVariantMap{{u"ключ"_s, u"ü\U0001F600"_s}});
    using Converter = QStringConverter;
    for (const auto encoding :
         {Converter::Utf8, Converter::Utf16LE, Converter::Utf16BE, Converter::Utf32LE, Converter::Utf32BE}) {
        for (const bool withMark : {false, true}) {
            EXPECT_EQ(valueOf(encoded(text, encoding, withMark)), expected) << int(encoding) << withMark;
        }
    }
}

TEST(JSONReader, ReadsAWideFragmentOfOneOrTwoCharacters) {
    EXPECT_EQ(valueOf(QByteArray("7\0", 2)), QVariant(7LL));
    EXPECT_EQ(valueOf(QByteArray("\0007", 2)), QVariant(7LL));
    EXPECT_EQ(valueOf(QByteArray("7\0\0\0", 4)), QVariant(7LL));
    EXPECT_EQ(valueOf(QByteArray("\0\0\0007", 4)), QVariant(7LL));
    EXPECT_EQ(valueOf(encoded(u"\"Ω\""_s, QStringConverter::Utf16LE, false)), QVariant(u"Ω"_s));
}

TEST(JSONReader, RefusesDamagedWideText) {
    using Converter = QStringConverter;
    for (const auto encoding : {Converter::Utf16LE, Converter::Utf16BE, Converter::Utf32LE, Converter::Utf32BE}) {
        const QByteArray whole = encoded(u"[1]"_s, encoding, true);
        EXPECT_EQ(valueOf(whole.chopped(1)), std::nullopt);
        EXPECT_EQ(valueOf(whole + 'x'), std::nullopt);
    }
    EXPECT_EQ(valueOf(QByteArray("\xFF\xFE\"\0\x00\xD8\"\0", 8)), std::nullopt);                // half a pair
    EXPECT_EQ(valueOf(QByteArray("\xFF\xFE\0\0\"\0\0\0\0\0\x11\0\"\0\0\0", 16)), std::nullopt); // beyond Unicode
    EXPECT_EQ(valueOf("\xFF\xFE"), std::nullopt);
    EXPECT_EQ(valueOf("\xEF\xBB\xBF"), std::nullopt);
}

TEST(JSONReader, RefusesEveryBeginningOfADocument) {
    for (qsizetype length = 0; length < kDocument.size(); ++length) {
        EXPECT_EQ(valueOf(kDocument.first(length)), std::nullopt) << length;
    }
}

TEST(JSONReader, TellsWhereADocumentIsWrong) {
    EXPECT_EQ(JSONReader::read("[1 2]").failure, u"The document is no valid JSON at byte 4."_s);
    EXPECT_EQ(JSONReader::read(QByteArray("[\0]", 3)).failure, u"The document's text is damaged."_s);
}

TEST(JSONReader, SurvivesADocumentWithAnyByteReplaced) {
    for (qsizetype at = 0; at < kDocument.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            QByteArray damaged = kDocument;
            damaged[at] = static_cast<char>(byte);
            valueOf(damaged);
        }
    }
}

TEST(JSONReader, SurvivesGarbage) {
    std::mt19937 random(20240305);
    for (int round = 0; round < 2000; ++round) {
        QByteArray garbage(static_cast<qsizetype>(random() % 64), '\0');
        for (char& byte : garbage) {
            byte = static_cast<char>(random());
        }
        valueOf(garbage);
    }
}

TEST(JSONReader, TakesAsManyValuesAsItsLimitAndNoMore) {
    // The list itself is a value, too.
    QByteArray text = "[";
    for (int value = 0; value < 99'999; ++value) {
        text += "[1],";
    }
    EXPECT_TRUE(JSONReader::read(text + "1]").value);
    const auto tooMany = JSONReader::read(text + "1,1]");
    EXPECT_FALSE(tooMany.value);
    EXPECT_EQ(tooMany.failure, u"The document holds more than 200000 values."_s);
}
