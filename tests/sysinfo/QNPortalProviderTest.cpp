#include "logging/QNLogger.h"
#include "sysinfo/QNPortalProvider.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// For the tests that need a fixed home; nothing is written there.
class AtHomeOfAnn : public testing::Test {
protected:
    AtHomeOfAnn() {
        test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
        test::setEnvironment("HOME", "/Users/ann");
    }
};

} // namespace

TEST_F(AtHomeOfAnn, TheIdentifierIsDerivedFromTheFirstAddressAndTheHome) {
    EXPECT_EQ(QNPortalProvider::getCi(), u"14aee255-8743-4887-83bc-20caf4fc7d51"_s);
}

TEST_F(AtHomeOfAnn, TheDerivationTellsItsPartsOnTheConsoleOnce) {
    const QStringList first = test::consoleLinesOf([] { QNPortalProvider::getCi(); });
    EXPECT_THAT(first, ElementsAre(u"Home directory is /Users/ann"_s, u"MAC Address a4:83:e7:12:34:56"_s));
    EXPECT_THAT(test::consoleLinesOf([] { QNPortalProvider::getCi(); }), IsEmpty());
}

TEST_F(AtHomeOfAnn, TheIdentifierStaysWhenWhatItWasMadeOfChanges) {
    QNPortalProvider::getCi();
    test::setEnvironment("HOME", "/Users/bob");
    EXPECT_EQ(QNPortalProvider::getCi(), u"14aee255-8743-4887-83bc-20caf4fc7d51"_s);
    QNPortalProvider::createCi();
    EXPECT_EQ(QNPortalProvider::getCi(), u"72ef69d2-5043-47ce-87f4-f7c7bfb2dfec"_s);
}

TEST_F(AtHomeOfAnn, AHomeWithASlashAtItsEndIsAnotherHome) {
    test::setEnvironment("HOME", "/Users/ann/");
    EXPECT_NE(QNPortalProvider::getCi(), u"14aee255-8743-4887-83bc-20caf4fc7d51"_s);
}

TEST_F(AtHomeOfAnn, AMachineWithoutAnAddressHasAnIdentifier) {
    test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho 'ether 00:00:00:00:00:00'\n");
    const QStringList console =
        test::consoleLinesOf([] { EXPECT_EQ(QNPortalProvider::getCi(), u"cd404cb0-25c6-4b2c-89e0-bd58bd24b11c"_s); });
    EXPECT_TRUE(console.contains(u"MAC Address (null)"_s));
}

TEST(PortalProvider, WritesOneEntryWithoutAnIdentifierWhenTheInterfaceListerCannotRun) {
    test::putSystemFile(u"/sbin/ifconfig"_s, "no program");
    EXPECT_TRUE(QNPortalProvider::getCi());
    EXPECT_THAT(test::eventLogMessages(),
                ElementsAre(u"Run Task with path: /sbin/ifconfig threw an exception: launch path not accessible"_s));
    EXPECT_TRUE(test::eventLog()[0].contains(u"\"ci\": \"(null)\""_s));
}

TEST(PortalProvider, GivesTheFirstLogLineItsIdentifier) {
    test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
    QNLogger::debug(u"m"_s, logContext("f"));
    const QString expected = u"\"ci\": \""_s + QNPortalProvider::getCi().value() + u"\""_s;
    EXPECT_TRUE(test::eventLog().at(0).contains(expected));
}
