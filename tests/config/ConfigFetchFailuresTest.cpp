#include "tests/config/ConfigFetchFixture.h"

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

class ParseFailure : public ConfigFetch, public testing::WithParamInterface<const char*> {};

TEST_P(ParseFailure, LogsSuccessThenAnErrorThatEndsInNullAndDeliversNothing) {
    Outcome outcome;
    const QStringList console = test::consoleLinesOf([&] { outcome = fetchAnswered(GetParam()); });
    EXPECT_FALSE(outcome.model);
    EXPECT_FALSE(outcome.error);
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"Config successful"_s, u"Config parse error. Error: (null)"_s));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s, u"ERROR"_s));
    EXPECT_TRUE(console.last().startsWith(u"Error is The document "_s)) << console.last().toStdString();
    EXPECT_THAT(addresses.seen(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Bodies, ParseFailure,
                         testing::Values("<html>no</html>", "", "{", "[1,2]", "5", "\"text\"", "null"));

class WrongFormat : public ConfigFetch, public testing::WithParamInterface<const char*> {};

TEST_P(WrongFormat, LogsTheAddressAndDeliversNothing) {
    const std::string address = GetParam();
    const Outcome outcome = fetchAnswered(R"({"analyticsUrl":"a","userAction":[{"action":"install","isActive":"1"}],
        "software":[{"IsActive":"1","macUrl":")" +
                                          address + R"("}]})");
    EXPECT_FALSE(outcome.model);
    EXPECT_FALSE(outcome.error);
    EXPECT_THAT(test::eventLogMessages(),
                ElementsAre(u"Config successful"_s, u"Config parse error. Invalid file format specified for Mac: "_s +
                                                        QString::fromStdString(address)));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s, u"ERROR"_s));
    EXPECT_THAT(addresses.seen(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Addresses, WrongFormat,
                         testing::Values("https://h/a.pkg", "https://h/a", "https://h/a.dmg?x=1", ""));

TEST_F(ConfigFetch, ReportsARefusedConnectionAsADebugEntryAndDeliversTheError) {
    const loopback::RefusingPort port;
    configure(port.address("/c"));
    const Outcome outcome = fetch();
    EXPECT_FALSE(outcome.model);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code, TransportError::kCannotConnect);
    const QString address = QString::fromStdString(port.address("/c"));
    EXPECT_THAT(test::eventLogMessages(),
                ElementsAre(u"Error loading config: "_s + address +
                            u" Error: Error Domain=NSURLErrorDomain Code=-1004 \"Could not connect to the server.\" "
                            "UserInfo={NSErrorFailingURLStringKey="_s +
                            address + u", NSLocalizedDescription=Could not connect to the server.}"_s));
    EXPECT_THAT(levels(), ElementsAre(u"DEBUG"_s));
    EXPECT_THAT(addresses.seen(), IsEmpty());
}

TEST_F(ConfigFetch, ReportsAConnectionThatBreaksOffAsATransportError) {
    auto reply = loopback::replyWith(kInstall);
    reply.cutAfter = 120;
    reply.ending = loopback::Ending::kClose;
    server.expect("GET /config.json", reply);
    const Outcome outcome = fetch();
    EXPECT_FALSE(outcome.model);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code, TransportError::kConnectionLost);
}

class UnusableAddress : public ConfigFetch, public testing::WithParamInterface<std::optional<QString>> {};

TEST_P(UnusableAddress, EndsAsAnUnsupportedAddressAndNeverAsACrash) {
    test::setSetting(u"PRODUCTION_URL"_s, GetParam() ? QVariant(*GetParam()) : QVariant());
    Outcome outcome;
    const QStringList console = test::consoleLinesOf([&] { outcome = fetch(); });
    EXPECT_FALSE(outcome.model);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code, TransportError::kUnsupportedAddress);
    EXPECT_TRUE(console.contains(u"URL: "_s + GetParam().value_or(u"(null)"_s)));
    ASSERT_EQ(test::eventLogMessages().size(), 1);
    EXPECT_TRUE(test::eventLogMessages()[0].startsWith(u"Error loading config: "_s));
    EXPECT_TRUE(test::eventLogMessages()[0].contains(u" Error: Error Domain=NSURLErrorDomain Code=-1002 "
                                                     "\"unsupported URL\""_s))
        << test::eventLogMessages()[0].toStdString();
}

INSTANTIATE_TEST_SUITE_P(Settings, UnusableAddress,
                         testing::Values(std::nullopt, u""_s, u"http://h/a b"_s, u"other://h/x"_s, u"word"_s));
