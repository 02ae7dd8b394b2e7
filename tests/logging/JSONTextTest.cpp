#include "logging/JSONText.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

QString compact(const QVariant& value) {
    return jsonStringWithPrettyPrint({{u"k"_s, value}}, false);
}

QVariantMap nested(int levels) {
    QVariantMap dictionary;
    for (int level = 1; level < levels; ++level) {
        dictionary = {{u"k"_s, dictionary}};
    }
    return dictionary;
}

} // namespace

TEST(JSONText, WritesEachKindOfValueWithoutBlanks) {
    const std::pair<QVariant, QString> table[] = {
        {u"v"_s, uR"({"k":"v"})"_s},
        {QString(), uR"({"k":""})"_s},
        {5, uR"({"k":5})"_s},
        {-3LL, uR"({"k":-3})"_s},
        {std::numeric_limits<quint64>::max(), uR"({"k":18446744073709551615})"_s},
        {true, uR"({"k":true})"_s},
        {false, uR"({"k":false})"_s},
        {QVariant::fromValue(nullptr), uR"({"k":null})"_s},
        {1.5, uR"({"k":1.5})"_s},
        {QVariantList{1, u"a"_s}, uR"({"k":[1,"a"]})"_s},
        {QStringList{u"a"_s, u"b"_s}, uR"({"k":["a","b"]})"_s},
        {QVariantMap{{u"a"_s, 1}}, uR"({"k":{"a":1}})"_s},
        {QVariantMap(), uR"({"k":{}})"_s},
        {QVariantList(), uR"({"k":[]})"_s},
    };
    for (const auto& [value, expected] : table) {
        EXPECT_EQ(compact(value), expected);
    }
}

TEST(JSONText, WidensASinglePrecisionNumberFirst) {
    EXPECT_EQ(compact(0.45F), uR"({"k":0.44999998807907104})"_s);
}

TEST(JSONText, WritesAWholeNumberWithoutAFraction) {
    EXPECT_EQ(compact(10.0), uR"({"k":10})"_s);
    EXPECT_EQ(compact(-2.0F), uR"({"k":-2})"_s);
    EXPECT_EQ(compact(0.0), uR"({"k":0})"_s);
}

TEST(JSONText, EscapesQuotesBackslashesAndControlsAndKeepsOtherLetters) {
    EXPECT_EQ(compact(u"a\"b\\c\b\f\n\r\t\x01\x1f"_s), uR"({"k":"a\"b\\c\b\f\n\r\t\u0001\u001f"})"_s);
    EXPECT_EQ(compact(u"Grüße \U0001F600 \x7f"_s), u"{\"k\":\"Grüße \U0001F600 \x7f\"}"_s);
}

TEST(JSONText, WritesAnEmptyDictionary) {
    EXPECT_EQ(jsonStringWithPrettyPrint({}, false), u"{}"_s);
}

TEST(JSONText, PutsEachEntryOnALineOfItsOwnWhenPretty) {
    const QVariantMap dictionary{{u"a"_s, 1}, {u"b"_s, QVariantList{u"x"_s, 2.5}}};
    const QString text = jsonStringWithPrettyPrint(dictionary, true);
    EXPECT_EQ(text.split(u'\n').size(), 7);
    EXPECT_EQ(QJsonDocument::fromJson(text.toUtf8()).object().toVariantMap(), dictionary);
}

TEST(JSONText, GivesAnEmptyObjectAndOneConsoleLineForAValueWithoutAForm) {
    const QVariant table[] = {
        QVariant(),
        std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(),
        -std::numeric_limits<float>::infinity(),
        QDateTime::fromSecsSinceEpoch(0),
        QByteArray("bytes"),
        QString(QChar(0xD800)),
        QVariantList{1, QVariant()},
        QVariantMap{{u"deep"_s, QVariantList{std::nan("")}}},
        QVariantMap{{QString(QChar(0xDC00)), 1}},
    };
    for (const auto& value : table) {
        QString text;
        const QStringList console = test::consoleLinesOf([&] { text = compact(value); });
        EXPECT_EQ(text, u"{}"_s) << value.typeName();
        ASSERT_EQ(console.size(), 1) << value.typeName();
        EXPECT_TRUE(console[0].startsWith(u"zk_jsonStringWithPrettyPrint: error: "_s)) << console[0].toStdString();
    }
}

TEST(JSONText, WritesFiveHundredAndTwelveLevelsAndNoMore) {
    EXPECT_EQ(jsonStringWithPrettyPrint(nested(512), false).count(u'{'), 512);
    const QStringList console =
        test::consoleLinesOf([] { EXPECT_EQ(jsonStringWithPrettyPrint(nested(513), false).size(), 2); });
    EXPECT_EQ(console.size(), 1);
}
