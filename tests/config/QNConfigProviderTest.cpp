#include "config/QNConfigProvider.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The production, dev1, qa1 and beta settings hold the name of their key.
void putSettings(const QVariant& environment) {
    QVariantMap settings;
    for (const auto& key :
         {u"DEV1_URL"_s, u"QA1_URL"_s, u"BETA_URL"_s, u"PRODUCTION_URL"_s, u"kQNApplicationDataPathDev1"_s,
          u"kQNApplicationDataPathQA1"_s, u"kQNApplicationDataPathBeta"_s, u"kQNApplicationDataPathProd"_s,
          u"kQNInstallBinaryPathDev1"_s, u"kQNInstallBinaryPathQA1"_s, u"kQNInstallBinaryPathBeta"_s,
          u"kQNInstallBinaryPathProd"_s}) {
        settings[key] = key;
    }
    settings[u"QNEnv"_s] = u"qa1"_s; // only the top level counts
    QVariantMap info{{u"QNConfig"_s, settings}};
    if (environment.isValid()) {
        info[u"QNEnv"_s] = environment;
    }
    test::writeInfoPlist(info);
}

QStringList selected() {
    return {QNConfigProvider::getConfigUrl().value_or(u"none"_s),
            QNConfigProvider::getEnvSpecificAppDataPath().value_or(u"none"_s),
            QNConfigProvider::getEnvSpecificBinaryName().value_or(u"none"_s)};
}

const auto kProduction =
    ElementsAre(u"PRODUCTION_URL"_s, u"kQNApplicationDataPathProd"_s, u"kQNInstallBinaryPathProd"_s);

} // namespace

TEST(Environment, Dev1SelectsItsSettings) {
    putSettings(u"dev1"_s);
    EXPECT_THAT(selected(), ElementsAre(u"DEV1_URL"_s, u"kQNApplicationDataPathDev1"_s, u"kQNInstallBinaryPathDev1"_s));
}

TEST(Environment, Qa1SelectsItsSettings) {
    putSettings(u"qa1"_s);
    EXPECT_THAT(selected(), ElementsAre(u"QA1_URL"_s, u"kQNApplicationDataPathQA1"_s, u"kQNInstallBinaryPathQA1"_s));
}

TEST(Environment, BetaSelectsItsSettings) {
    putSettings(u"beta"_s);
    EXPECT_THAT(selected(), ElementsAre(u"BETA_URL"_s, u"kQNApplicationDataPathBeta"_s, u"kQNInstallBinaryPathBeta"_s));
}

class ProductionEnvironment : public testing::TestWithParam<QVariant> {};

TEST_P(ProductionEnvironment, IsSelectedByEverythingElse) {
    putSettings(GetParam());
    EXPECT_THAT(selected(), kProduction);
}

INSTANTIATE_TEST_SUITE_P(Names, ProductionEnvironment,
                         testing::Values(QVariant(), QVariant(u"QA1"_s), QVariant(u"Dev1"_s), QVariant(u"prod"_s),
                                         QVariant(u"dev1 "_s), QVariant(u""_s), QVariant(1LL)));

TEST(Settings, AreTheBundlesInformationList) {
    test::writeInfoPlist({{u"CFBundleShortVersionString"_s, u"2.3"_s}, {u"QNConfig"_s, QVariantMap{{u"a"_s, u"b"_s}}}});
    EXPECT_EQ(QNConfigProvider::getPlist()[u"CFBundleShortVersionString"_s], QVariant(u"2.3"_s));
    EXPECT_EQ(QNConfigProvider::getPortalConfig(), (QVariantMap{{u"a"_s, u"b"_s}}));
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"a"_s), u"b"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"CFBundleShortVersionString"_s), std::nullopt); // another level
}

TEST(Settings, AreAbsentWhereTheKeyIsMissingOrHoldsNoText) {
    test::writeInfoPlist({{u"QNConfig"_s, QVariantMap{{u"list"_s, QVariantList{u"x"_s}}, {u"empty"_s, u""_s}}}});
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"missing"_s), std::nullopt);
    EXPECT_EQ(QNConfigProvider::getUrlPlist(u"missing"_s), std::nullopt);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"list"_s), std::nullopt);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"empty"_s), u""_s);
    EXPECT_EQ(QNConfigProvider::getConfigUrl(), std::nullopt);
    EXPECT_EQ(QNConfigProvider::getEnvSpecificAppDataPath(), std::nullopt);
    EXPECT_EQ(QNConfigProvider::getEnvSpecificBinaryName(), std::nullopt);
}

TEST(Settings, ThatAreNumbersOrTruthValuesAreTakenByTheirText) {
    test::writeFile(test::bundle() + u"/Contents/Info.plist"_s,
                    "<plist version=\"1.0\"><dict><key>QNConfig</key><dict><key>BG_COLOR</key><integer>112233</integer>"
                    "<key>kAPP_NAME</key><real>2.5</real><key>large</key><integer>18446744073709551615</integer>"
                    "<key>below</key><integer>-9223372036854775808</integer><key>yes</key><true/><key>no</key><false/>"
                    "<key>data</key><data>YQ==</data><key>date</key><date>2020-01-02T03:04:05Z</date>"
                    "<key>dictionary</key><dict/></dict></dict></plist>");
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"BG_COLOR"_s), u"112233"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"kAPP_NAME"_s), u"2.5"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"large"_s), u"18446744073709551615"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"below"_s), u"-9223372036854775808"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"yes"_s), u"1"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"no"_s), u"0"_s);
    for (const QString& key : {u"data"_s, u"date"_s, u"dictionary"_s}) {
        EXPECT_EQ(QNConfigProvider::getStringFromPlist(key), std::nullopt) << key.toStdString();
    }
}

TEST(Settings, HaveEveryEscapedAmpersandOfAnAddressUndoneOnceAndNothingElse) {
    test::writeInfoPlist(
        {{u"QNConfig"_s, QVariantMap{{u"PRODUCTION_URL"_s, u"http://h/?a=1&amp;b=2&amp;amp;c&lt;%26"_s},
                                     {u"kQNApplicationDataPathProd"_s, u"/A &amp; B"_s},
                                     {u"kQNInstallBinaryPathProd"_s, u"C&amp;D"_s}}}});
    EXPECT_EQ(QNConfigProvider::getConfigUrl(), u"http://h/?a=1&b=2&amp;c&lt;%26"_s);
    EXPECT_EQ(QNConfigProvider::getEnvSpecificAppDataPath(), u"/A & B"_s);
    EXPECT_EQ(QNConfigProvider::getEnvSpecificBinaryName(), u"C&D"_s);
    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"kQNInstallBinaryPathProd"_s), u"C&amp;D"_s); // as stored
}

TEST(Settings, AreToldOnTheConsoleOnceWhenFound) {
    test::writeInfoPlist({{u"QNConfig"_s, QVariantMap{{u"a"_s, u"b c"_s}}}});
    EXPECT_THAT(test::consoleLinesOf([] { QNConfigProvider::getPortalConfig(); }),
                ElementsAre(u"QNConfigPlist: {"_s, u"    a = \"b c\";"_s, u"}"_s));
    EXPECT_THAT(test::consoleLinesOf([] {
                    QNConfigProvider::getPortalConfig();
                    QNConfigProvider::getStringFromPlist(u"a"_s);
                    QNConfigProvider::getConfigUrl();
                }),
                IsEmpty());
}

TEST(Settings, AreToldMissingOnTheConsoleAtEachLookUp) {
    test::writeInfoPlist({{u"QNEnv"_s, u"beta"_s}});
    EXPECT_THAT(test::consoleLinesOf([] {
                    EXPECT_EQ(QNConfigProvider::getPortalConfig(), std::nullopt);
                    EXPECT_EQ(QNConfigProvider::getStringFromPlist(u"a"_s), std::nullopt);
                    EXPECT_EQ(QNConfigProvider::getConfigUrl(), std::nullopt);
                }),
                ElementsAre(u"QNConfigPlist: (null)"_s, u"QNConfigPlist: (null)"_s, u"QNConfigPlist: (null)"_s));
}

TEST(Settings, CountAsMissingWhenTheyAreNoDictionary) {
    test::writeInfoPlist({{u"QNConfig"_s, u"text"_s}});
    EXPECT_EQ(QNConfigProvider::getPortalConfig(), std::nullopt);
}

TEST(Settings, SurviveABundleWithoutAReadableList) {
    test::writeFile(test::bundle() + u"/Contents/Info.plist"_s, "<plist><dict><key>QNConfig");
    EXPECT_EQ(QNConfigProvider::getPlist(), QVariantMap());
    EXPECT_EQ(QNConfigProvider::getPortalType(), u"qn"_s);
    EXPECT_EQ(QNConfigProvider::getConfigUrl(), std::nullopt);
}

TEST(PortalType, IsTheSettingAndFormsTheAddressOfAnAction) {
    test::writeInfoPlist({{u"QNConfig"_s, QVariantMap{{u"QNPortalType"_s, u"acme"_s}}}});
    EXPECT_EQ(QNConfigProvider::getPortalType(), u"acme"_s);
    EXPECT_EQ(QNConfigProvider::getAction(u"crashInfo"_s), u"acmed://crashInfo"_s);
}

TEST(PortalType, IsQnWithoutASettingAndWorkedOutOnce) {
    test::writeInfoPlist({{u"QNEnv"_s, u"beta"_s}});
    EXPECT_THAT(test::consoleLinesOf([] {
                    EXPECT_EQ(QNConfigProvider::getPortalType(), u"qn"_s);
                    EXPECT_EQ(QNConfigProvider::getPortalType(), u"qn"_s);
                }),
                ElementsAre(u"QNConfigPlist: (null)"_s));
}

TEST(PortalType, WritesTheAddressOfAnActionToTheConsole) {
    test::writeInfoPlist({{u"QNConfig"_s, QVariantMap{{u"a"_s, u"b"_s}}}});
    QNConfigProvider::getPortalType();
    EXPECT_THAT(test::consoleLinesOf([] { EXPECT_EQ(QNConfigProvider::getAction(u"install"_s), u"qnd://install"_s); }),
                ElementsAre(u"qnd://install"_s));
}

TEST(ShippedList, HoldsEverySetting) {
    // The case's bundle is a copy of the built one.
    const QVariantMap info = QNConfigProvider::getPlist();
    EXPECT_EQ(info[u"CFBundleExecutable"_s], QVariant(u"QNInstaller"_s));
    EXPECT_EQ(info[u"CFBundleDevelopmentRegion"_s], QVariant(u"en"_s));
    EXPECT_TRUE(
        info[u"CFBundleShortVersionString"_s].toString().contains(QRegularExpression(u"^\\d+\\.\\d+\\.\\d+$"_s)));
    EXPECT_FALSE(info[u"CFBundleIdentifier"_s].toString().isEmpty());
    EXPECT_FALSE(info[u"QNEnv"_s].toString().isEmpty());
    for (const auto& key : {u"QNPortalType"_s,
                            u"DEV1_URL"_s,
                            u"QA1_URL"_s,
                            u"BETA_URL"_s,
                            u"PRODUCTION_URL"_s,
                            u"kQNApplicationDataPathDev1"_s,
                            u"kQNApplicationDataPathQA1"_s,
                            u"kQNApplicationDataPathBeta"_s,
                            u"kQNApplicationDataPathProd"_s,
                            u"kQNInstallBinaryPathDev1"_s,
                            u"kQNInstallBinaryPathQA1"_s,
                            u"kQNInstallBinaryPathBeta"_s,
                            u"kQNInstallBinaryPathProd"_s,
                            u"kAPP_NAME"_s,
                            u"AnalyticsProductName"_s,
                            u"PRIMARY_COLOR"_s,
                            u"SECONDARY_COLOR"_s,
                            u"BG_COLOR"_s,
                            u"visitOnlineHelpSiteUrl"_s,
                            u"downloadAndInstallLatestVersionUrl"_s,
                            u"clickHereUrl"_s}) {
        EXPECT_FALSE(QNConfigProvider::getStringFromPlist(key).value_or(QString()).isEmpty()) << key.toStdString();
    }
    EXPECT_TRUE(QNConfigProvider::getEnvSpecificAppDataPath()->startsWith(u'/'));
}

TEST(ShippedList, RegistersTheSchemeOfItsPortalType) {
    const QVariantList types = QNConfigProvider::getPlist()[u"CFBundleURLTypes"_s].toList();
    ASSERT_EQ(types.size(), 1);
    EXPECT_EQ(types[0].toMap()[u"CFBundleURLSchemes"_s].toList(),
              QVariantList{QNConfigProvider::getPortalType() + u'd'});
}
