#include "tests/tools/qn-portal/ServeProgram.h"
#include "tools/qn-portal/brand/NewBrand.h"
#include "tools/qn-portal/check/CheckRun.h"
#include "tools/qn-portal/check/Settings.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <filesystem>
#include <set>

using namespace Qt::StringLiterals;

namespace portal::brand {

namespace {

class NewBrand : public testing::Test {
protected:
    std::string path() const { return folder_.filePath(u"kit"_s).toStdString(); }

    std::set<std::string> check() const {
        check::CheckOptions options;
        options.targets = QStringList{QString::fromStdString(path())};
        options.isOffline = true;
        std::set<std::string> codes;
        const check::CheckReport report = check::runChecks(options);
        EXPECT_TRUE(report.refusals.isEmpty());
        for (const check::Finding& finding : report.findings.all()) {
            codes.emplace(finding.rule->code);
        }
        return codes;
    }

    QTemporaryDir folder_;
};

TEST_F(NewBrand, LacksNothingButWhatIsToBeFilledIn) {
    makeBrand(path(), "kit");
    EXPECT_THAT(check(), testing::ElementsAre("config-placeholder"));
}

TEST_F(NewBrand, HasATableForEachLanguage) {
    makeBrand(path(), "kit");
    for (const std::string_view language : check::languages()) {
        EXPECT_TRUE(std::filesystem::exists(path() + "/" + std::string(language) + ".lproj/Localizable.strings"));
    }
}

TEST_F(NewBrand, ReplacesNoFolder) {
    makeBrand(path(), "kit");
    EXPECT_THROW(makeBrand(path(), "kit"), std::runtime_error);
    EXPECT_TRUE(std::filesystem::exists(path() + "/Info.plist"));
}

TEST_F(NewBrand, ExplainsEverySetting) {
    const std::string text = newSettings("kit");
    for (const check::Setting& setting : check::settings()) {
        EXPECT_THAT(text, testing::HasSubstr("<key>" + std::string(setting.key) + "</key>"));
    }
}

TEST(BrandNames, AreGoodForIdentifiersAndSchemes) {
    EXPECT_TRUE(isBrandName("kit-2"));
    for (const char* const bad : {"", "Kit", "2kit", "kit/../x", "k t", "ü"}) {
        EXPECT_FALSE(isBrandName(bad)) << bad;
    }
}

TEST(BrandVerb, RefusesWhatIsNoName) {
    EXPECT_EQ(ServeProgram::runVerb("brand", {"new", "../kit"}).status, 2);
    EXPECT_EQ(ServeProgram::runVerb("brand", {"old", "kit"}).status, 2);
    EXPECT_EQ(ServeProgram::runVerb("brand", {"--help"}).status, 0);
}

} // namespace

} // namespace portal::brand
