#include "config/JSONReader.h"
#include "tools/qn-portal/check/JsonScan.h"
#include "tools/qn-portal/check/Rules.h"
#include "tools/qn-portal/check/Spelling.h"

#include <gmock/gmock.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

bool hasError(const JsonScan& scan) {
    return std::ranges::any_of(scan.problems, [](const JsonProblem& problem) {
        return ruleCalled(problem.code)->severity == Severity::kError;
    });
}

const QByteArray kDocument = R"({"a": [1, -2.5e3, true, null, "x\né😀"], "b": {"c": "d"}})";

TEST(JsonScan, FindsNothingWrongInAGoodDocumentAndReadsItAsTheInstallerDoes) {
    const JsonScan scan = scanJson(kDocument);
    EXPECT_TRUE(scan.problems.empty());
    EXPECT_EQ(variantOf(*scan.root), *JSONReader::read(kDocument).value);
}

TEST(JsonScan, FindsSomethingWrongWhereverADocumentIsCutOff) {
    for (qsizetype length = 0; length < kDocument.size(); ++length) {
        EXPECT_TRUE(hasError(scanJson(kDocument.left(length)))) << length;
    }
}

TEST(JsonScan, EndsOnEveryDocumentWithOneByteReplaced) {
    const QByteArray bytes("{}[],:\"'\\/*\n\0\xff", 15);
    for (qsizetype at = 0; at < kDocument.size(); ++at) {
        for (const char byte : bytes) {
            QByteArray document = kDocument;
            document[at] = byte;
            const bool isGood = JSONReader::read(document).value.has_value();
            if (!isGood) {
                continue; // that it ends is what counts: the installer's reader has the last word
            }
            EXPECT_FALSE(hasError(scanJson(document))) << document.toStdString();
        }
    }
}

TEST(JsonScan, TellsThePlaceInLinesAndCharacters) {
    const QString text = u"{\n  \"ü😀\": 1,\n}"_s;
    const TextPlace place = placeIn(text, text.indexOf(u'1'));
    EXPECT_EQ(place.line, 2);
    EXPECT_EQ(place.column, 9);
    EXPECT_EQ(place.excerpt, u"  \"ü😀\": 1,"_s);
}

TEST(JsonScan, TellsOfSeveralMistakesAtOnce) {
    const JsonScan scan = scanJson("{'a': 1,, \"b\" 2}");
    std::vector<std::string_view> codes;
    for (const JsonProblem& problem : scan.problems) {
        codes.push_back(problem.code);
    }
    EXPECT_THAT(codes, testing::ElementsAre("json-quotes", "json-syntax", "json-syntax"));
}

TEST(NearestWord, FindsWhatWasMeant) {
    const QStringList known{u"isActive"_s, u"action"_s, u"actionUrl"_s, u"macUrl"_s};
    EXPECT_EQ(nearestWord(u"isactive"_s, known), u"isActive"_s);
    EXPECT_EQ(nearestWord(u"macURL"_s, known), u"macUrl"_s);
    EXPECT_EQ(nearestWord(u"acitonUrl"_s, known), u"actionUrl"_s);
    EXPECT_EQ(nearestWord(u"macUrl"_s, known), std::nullopt);
    EXPECT_EQ(nearestWord(u"colour"_s, known), std::nullopt);
}

} // namespace

} // namespace portal::check
