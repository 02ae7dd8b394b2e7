#include "platform/base/PlatformException.h"
#include "sysinfo/Identifier.h"
#include "sysinfo/QNPortalProvider.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

// The expected values were made with the sha256sum program and six characters replaced by hand.

TEST(Identifier, IsADigestOfAddressAndHome) {
    const QString address = u"a4:83:e7:12:34:56"_s;
    EXPECT_EQ(Identifier::derived(address, u"/Users/ann"_s), u"14aee255-8743-4887-83bc-20caf4fc7d51"_s);
    EXPECT_EQ(Identifier::derived(address, u"/Users/bob"_s), u"72ef69d2-5043-47ce-87f4-f7c7bfb2dfec"_s);
    EXPECT_EQ(Identifier::derived(u"11:22:33:44:55:66"_s, u"/Users/ann"_s), u"b2adbacf-6fea-4bd3-8d86-159fc5f47160"_s);
}

TEST(Identifier, TakesAMissingAddressAsTheTextNull) {
    EXPECT_EQ(Identifier::derived(std::nullopt, u"/Users/ann"_s), u"cd404cb0-25c6-4b2c-89e0-bd58bd24b11c"_s);
    EXPECT_EQ(Identifier::derived(u"(null)"_s, u"/Users/ann"_s), u"cd404cb0-25c6-4b2c-89e0-bd58bd24b11c"_s);
}

TEST(Identifier, DigestsTheUtf8BytesOfAHomeOutsideAscii) {
    EXPECT_EQ(Identifier::derived(u"a4:83:e7:12:34:56"_s, u"/Users/ä"_s), u"f1321ea0-a73c-429d-871f-5fe52ff6dd0e"_s);
}

TEST(Identifier, StopsAtAZeroCharacter) {
    QString home = u"/Users/ann"_s;
    home[3] = QChar(0);
    EXPECT_EQ(Identifier::derived(u"a4:83:e7:12:34:56"_s, home), u"4c76304c-3fc0-4b8d-872b-5a91d5f5dde5"_s);
}

TEST(Identifier, HasItsFixedCharactersWhateverTheDigestIs) {
    for (int user = 0; user < 200; ++user) {
        const QString identifier = Identifier::derived(u"a4:83:e7:12:34:56"_s, u"/Users/%1"_s.arg(user));
        ASSERT_EQ(identifier.size(), 36);
        for (int at = 0; at < 36; ++at) {
            const QChar character = identifier[at];
            if (at == 8 || at == 13 || at == 18 || at == 23) {
                EXPECT_EQ(character, u'-');
            } else if (at == 14) {
                EXPECT_EQ(character, u'4');
            } else if (at == 19) {
                EXPECT_EQ(character, u'8');
            } else {
                EXPECT_TRUE(u"0123456789abcdef"_s.contains(character));
            }
        }
    }
}

TEST(Identifier, GivesOneErrorEntryForAFailedDerivation) {
    int runs = 0;
    const auto failing = [&]() -> QString {
        ++runs;
        throw PlatformException(u"NSGenericException"_s, u"no digest"_s);
    };
    EXPECT_EQ(Identifier::attempt(failing), std::nullopt);
    EXPECT_EQ(runs, 1); // the entry asks for the identifier, and that starts no other derivation
    EXPECT_THAT(test::eventLogMessages(), ElementsAre(u"createCi threw an exception: no digest"_s));
    EXPECT_TRUE(test::eventLog()[0].contains(u"\"ci\": \"(null)\", \"trace\": \"ERROR\""_s));
    EXPECT_TRUE(test::eventLog()[0].contains(u"\"fn\": \"+[QNPortalProvider createCi]\""_s));

    EXPECT_EQ(Identifier::attempt(failing), std::nullopt);
    EXPECT_EQ(test::eventLog().size(), 2); // and one more for the next attempt
}

TEST(Identifier, IsBeingDerivedOnlyDuringAnAttempt) {
    EXPECT_FALSE(Identifier::isBeingDerived());
    bool during = false;
    EXPECT_EQ(Identifier::attempt([&] {
                  during = Identifier::isBeingDerived();
                  return u"x"_s;
              }),
              u"x"_s);
    EXPECT_TRUE(during);
    EXPECT_FALSE(Identifier::isBeingDerived());
}

TEST(HexadecimalString, HasTwoLowerCaseDigitsForEachByteInOrder) {
    EXPECT_EQ(hexadecimalString(QByteArray("\x00\xAB", 2)), u"00ab"_s);
    EXPECT_EQ(hexadecimalString(QByteArray("\xFF\x01\x7F")), u"ff017f"_s);
    EXPECT_EQ(hexadecimalString(QByteArray()), u""_s);
}
