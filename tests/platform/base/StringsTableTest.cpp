#include "platform/base/StringsTable.h"

#include <QStringConverter>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using StringsTable::Table;

TEST(StringsTable, ReadsPairsAroundComments) {
    EXPECT_EQ(StringsTable::parse("/* one\n two */\n\"a\" = \"x\"; // rest\n\"b c\"=\"y\";word = other;"),
              (Table{{u"a"_s, u"x"_s}, {u"b c"_s, u"y"_s}, {u"word"_s, u"other"_s}}));
}

TEST(StringsTable, UndoesEscapes) {
    EXPECT_EQ(StringsTable::parse(R"("k" = "say \"hi\"\n\ttab \\ \U00fc";)"),
              (Table{{u"k"_s, u"say \"hi\"\n\ttab \\ ü"_s}}));
}

TEST(StringsTable, ReadsUtf8AndUtf16) {
    const QString text = u"\"k\" = \"שלום\";"_s;
    const Table expected{{u"k"_s, u"שלום"_s}};
    EXPECT_EQ(StringsTable::parse(text.toUtf8()), expected);
    EXPECT_EQ(StringsTable::parse("\xEF\xBB\xBF" + text.toUtf8()), expected);
    for (const auto encoding : {QStringConverter::Utf16LE, QStringConverter::Utf16BE}) {
        EXPECT_EQ(StringsTable::parse(QStringEncoder(encoding).encode(text)), expected);
        EXPECT_EQ(StringsTable::parse(QStringEncoder(encoding, QStringConverter::Flag::WriteBom).encode(text)),
                  expected);
    }
}

TEST(StringsTable, ReadsAPropertyListAndLeavesOutWhatIsNoText) {
    EXPECT_EQ(StringsTable::parse("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>x</string>"
                                  "<key>b</key><integer>1</integer></dict></plist>"),
              (Table{{u"a"_s, u"x"_s}}));
}

TEST(StringsTable, TakesAnEmptyFileAsAnEmptyTable) {
    EXPECT_EQ(StringsTable::parse(""), Table());
}

TEST(StringsTable, RefusesDamagedTables) {
    for (const QByteArray& bytes : {QByteArray("\"a\" = \"x\""), QByteArray("\"a\" \"x\";"), QByteArray("\"a"),
                                    QByteArray("/* open"), QByteArray("\"a\" = ;"), QByteArray("= \"x\";"),
                                    QByteArray("\xFF\xFE\xFF"), QByteArray("\"a\" = \"\xC3\";")}) {
        EXPECT_FALSE(StringsTable::parse(bytes)) << bytes.toStdString();
    }
}

TEST(StringsTable, SurvivesEveryTruncation) {
    const QByteArray whole = R"(/* c */ "key" = "v\"\U00e4\n"; // end)";
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        StringsTable::parse(whole.left(length));
    }
}
