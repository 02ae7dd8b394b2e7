#include "logging/LogLine.h"
#include "platform/base/PlatformException.h"
#include "tests/support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const LogContext kContext{
    {u"language"_s, u"en"_s},  {u"country"_s, u"GB"_s},
    {u"locale"_s, u"en-GB"_s}, {u"file"_s, u"QNMainController.cpp"_s},
    {u"line"_s, u"42"_s},      {u"function"_s, u"-[QNMainController quitInstallation:]"_s},
};

LogLine::Entry entry(const QString& message) {
    return {u"2026-01-02T03:04:05Z"_s, u"abc"_s, u"DEBUG"_s, message};
}

// Name and reason of what the event text raises.
QString raisedBy(const QString& eventText) {
    try {
        LogLine::entryOfEvent(u"EVT"_s, eventText);
        return u"nothing"_s;
    } catch (const PlatformException& exception) {
        return exception.name() + u": "_s + exception.reason();
    }
}

} // namespace

TEST(LogLine, LaysAPlainEntryOutByteForByte) {
    EXPECT_EQ(LogLine::plain(entry(u"Config successful"_s), kContext),
              u"{ \"time\": \"2026-01-02T03:04:05Z\",\"ci\": \"abc\", \"trace\": \"DEBUG\", "
              "\"message\":\" Config successful\", \"lang\": \"en\", \"country\": \"GB\", \"locale\": \"en-GB\", "
              "\"file\": \"QNMainController.cpp\", \"fn\": \"-[QNMainController quitInstallation:]\", "
              "\"line\": \"42\" }\r\n"_s);
}

TEST(LogLine, LaysAnEventEntryOutByteForByte) {
    EXPECT_EQ(LogLine::event({u"2026-01-02T03:04:05Z"_s, u"abc"_s, u"EVT"_s, uR"({"EVT":"Start"})"_s}, kContext),
              u"{ \"time\": \"2026-01-02T03:04:05Z\",\"ci\": \"abc\", \"trace\": \"EVT\", "
              "\"message\": {\"EVT\":\"Start\"}, \"lang\": \"en\", \"country\": \"GB\", \"locale\": \"en-GB\", "
              "\"file\": \"QNMainController.cpp\", \"fn\": \"-[QNMainController quitInstallation:]\", "
              "\"line\": \"42\" }\r\n"_s);
}

TEST(LogLine, EscapesNothing) {
    const QString line = LogLine::plain(entry(u"a \"b\" c:\\d\n\te %@ %d"_s), kContext);
    EXPECT_TRUE(line.contains(u"\"message\":\" a \"b\" c:\\d\n\te %@ %d\", \"lang\""_s)) << line.toStdString();
}

TEST(LogLine, WritesNullForAMissingIdentifierAndForMissingContext) {
    EXPECT_EQ(LogLine::plain({u"T"_s, std::nullopt, u"ERROR"_s, QString()}, {}),
              u"{ \"time\": \"T\",\"ci\": \"(null)\", \"trace\": \"ERROR\", \"message\":\" \", \"lang\": \"(null)\", "
              "\"country\": \"(null)\", \"locale\": \"(null)\", \"file\": \"(null)\", \"fn\": \"(null)\", "
              "\"line\": \"(null)\" }\r\n"_s);
    LogContext withoutLine = kContext;
    withoutLine.remove(u"line"_s);
    EXPECT_TRUE(LogLine::event(entry(u"{}"_s), withoutLine).endsWith(u"\"line\": \"(null)\" }\r\n"_s));
}

TEST(LogLine, WritesAnEmptyContextValueAsNothing) {
    LogContext context = kContext;
    context[u"country"_s] = QString();
    EXPECT_TRUE(LogLine::plain(entry(u"m"_s), context).contains(u"\"country\": \"\", "_s));
}

TEST(LogLine, TakesAnEventTextApart) {
    const auto event = LogLine::entryOfEvent(u"EVT"_s, uR"(2026-01-02T03:04:05Z ci=abc {"EVT":"Start"})"_s);
    EXPECT_EQ(event.time, u"2026-01-02T03:04:05Z"_s);
    EXPECT_EQ(event.identifier, u"abc"_s);
    EXPECT_EQ(event.level, u"EVT"_s);
    EXPECT_EQ(event.message, uR"({"EVT":"Start"})"_s);
}

TEST(LogLine, TakesTheRestOfAnEventTextAsTheMessage) {
    const std::pair<QString, QString> table[] = {
        {uR"(T1 ci=a {"RSN":"no  such file"})"_s, uR"({"RSN":"no  such file"})"_s}, // inner blanks stay
        {uR"(T1 ci=a {"A":"T1","B":"ci=a","C":"xT1ci=a"})"_s, uR"({"A":"","B":"","C":"x"})"_s},
        {u"T1 ci=a"_s, u""_s},
        {u"T1 ci=a  \t\r\n\u00a0{}\u2028\n "_s, u"{}"_s},
        {u" ci=a {}"_s, u"{}"_s},         // an empty first token is found nowhere
        {u"T ci=xT {T}"_s, u"ci=x {}"_s}, // the time goes first, and the second token is not found any more
    };
    for (const auto& [text, expected] : table) {
        EXPECT_EQ(LogLine::entryOfEvent(u"EVT"_s, text).message, expected) << text.toStdString();
    }
}

TEST(LogLine, TakesWhatStandsBetweenTheFirstTwoEqualSignsAsTheIdentifier) {
    EXPECT_EQ(LogLine::entryOfEvent(u"EVT"_s, u"T1 ci=a=b {}"_s).identifier, u"a"_s);
    EXPECT_EQ(LogLine::entryOfEvent(u"EVT"_s, u"T1 ci= {}"_s).identifier, u""_s);
    EXPECT_EQ(LogLine::entryOfEvent(u"EVT"_s, u"T1 ci=(null) {}"_s).identifier, u"(null)"_s);
}

TEST(LogLine, RaisesForAnEventTextWithFewerThanTwoTokensOrNoEqualSign) {
    const QString beyond = u"NSRangeException: *** -[__NSArrayM objectAtIndex:]: index 1 beyond bounds [0 .. 0]"_s;
    for (const auto& text : {u""_s, u"T1"_s, u"T1\tci=a"_s, u"T1 ci {}"_s, u"T1  ci=a {}"_s, u" "_s}) {
        EXPECT_EQ(raisedBy(text), beyond) << text.toStdString();
    }
    EXPECT_EQ(raisedBy(u"T1 ci=a {}"_s), u"nothing"_s);
}

TEST(LogLine, MasksTheNameWhereverItStandsAndInItsOwnCaseOnly) {
    EXPECT_EQ(LogLine::masked(u"/Users/ann/Downloads"_s, u"ann"_s), u"/Users/****/Downloads"_s);
    EXPECT_EQ(LogLine::masked(u"channel of Ann, ANN and annann"_s, u"ann"_s), u"ch****el of Ann, ANN and ********"_s);
    EXPECT_EQ(LogLine::masked(u"a.c abc"_s, u"a.c"_s), u"**** abc"_s);
    EXPECT_EQ(LogLine::masked(u"star*"_s, u"*"_s), u"star****"_s);
}

TEST(LogLine, MasksNothingForAnEmptyName) {
    EXPECT_EQ(LogLine::masked(u"abc"_s, u""_s), u"abc"_s);
}
