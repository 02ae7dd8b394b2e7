#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/CheckOutput.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

using testing::IsEmpty;

namespace portal::check::test {

std::vector<std::string> codesOf(const Findings& findings) {
    std::vector<std::string> codes;
    for (const Finding& finding : findings.all()) {
        if (std::ranges::find(codes, finding.rule->code) == codes.end()) {
            codes.emplace_back(finding.rule->code);
        }
    }
    return codes;
}

namespace {

std::vector<Case> allCases() {
    std::vector<Case> all;
    for (const auto& cases :
         {documentCases(), imageCases(), bundleCases(), screenCases(), tlsCases(), transferCases()}) {
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

class EachMistake : public testing::TestWithParam<Case> {};

TEST_P(EachMistake, IsFoundAndNothingElse) {
    Findings findings;
    GetParam().check(findings);
    EXPECT_THAT(codesOf(findings), testing::ElementsAre(GetParam().code));
}

std::string nameOfCase(const testing::TestParamInfo<Case>& known) {
    std::string name = known.param.code;
    std::ranges::replace(name, '-', '_');
    return name + "_" + std::to_string(known.index);
}

INSTANTIATE_TEST_SUITE_P(Check, EachMistake, testing::ValuesIn(allCases()), nameOfCase);

TEST(Check, IsSilentOnAGoodDocument) {
    Findings findings;
    checkGoodDocument(findings);
    EXPECT_THAT(codesOf(findings), IsEmpty());
}

TEST(Check, IsSilentOnAGoodImage) {
    Findings findings;
    checkGoodImage(findings);
    EXPECT_THAT(codesOf(findings), IsEmpty());
}

TEST(Check, IsSilentOnAGoodBundle) {
    Findings findings;
    checkGoodBundle(findings);
    EXPECT_THAT(codesOf(findings), IsEmpty());
}

TEST(Check, IsSilentOnScreensWhoseTextsFit) {
    Findings findings;
    checkGoodScreens(findings);
    EXPECT_THAT(codesOf(findings), IsEmpty());
}

TEST(Check, IsSilentOnAGoodTlsServer) {
    Findings findings;
    checkGoodTls(findings);
    EXPECT_THAT(codesOf(findings), IsEmpty());
}

TEST(Check, IsSilentOnGoodTransfers) {
    Findings findings;
    checkGoodTransfers(findings);
    EXPECT_THAT(codesOf(findings), IsEmpty());
}

TEST(Check, HasACaseForEveryRule) {
    std::set<std::string> tested;
    for (const Case& known : allCases()) {
        tested.insert(known.code);
    }
    for (const Rule* const rule : rules()) {
        EXPECT_TRUE(tested.contains(std::string(rule->code))) << rule->code;
    }
}

TEST(Check, IsListedOnThePageWordForWord) {
    const std::ifstream file(SOURCE_FOLDER "/docs/portal.md");
    std::ostringstream page;
    page << file.rdbuf();
    EXPECT_TRUE(page.str().find(ruleTable()) != std::string::npos) << "print it with qn-portal check --list";
}

TEST(Check, HasRulesWithDifferentCodesAndWholeSentences) {
    std::set<std::string_view> codes;
    for (const Rule* const rule : rules()) {
        EXPECT_TRUE(codes.insert(rule->code).second) << rule->code;
        EXPECT_FALSE(rule->what.empty() || rule->userSees.empty() || rule->fix.empty()) << rule->code;
        EXPECT_TRUE(rule->what.ends_with('.')) << rule->code;
        EXPECT_TRUE(rule->fix.ends_with('.')) << rule->code;
    }
    EXPECT_GE(codes.size(), 60U);
}

} // namespace

} // namespace portal::check::test
