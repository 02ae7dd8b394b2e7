#include "tests/faults/Expectation.h"
#include "tests/faults/FaultRun.h"
#include "tests/support/TestEnvironment.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <set>

using namespace Qt::StringLiterals;

// Everything that a portal and its network can do wrong, to each answer, met by the whole program.

namespace faultsuite {

void PrintTo(const Expectation& expectation, std::ostream* out);
void PrintTo(const Expectation& expectation, std::ostream* out) {
    *out << expectation.ending.toStdString();
}

namespace {

std::string caseName(const Expectation& expectation) {
    static const char* const kNames[] = {"configuration", "image", "analytics"};
    std::string name = expectation.scenario.toStdString();
    if (expectation.target) {
        name += std::string("_of_") + kNames[static_cast<std::size_t>(*expectation.target)];
    }
    std::ranges::replace_if(
        name, [](char letter) { return letter == '-' || letter == '.' || letter == '='; }, '_');
    return name;
}

std::vector<Expectation> those(bool areLong) {
    std::vector<Expectation> some = expectations();
    std::erase_if(some, [&](const Expectation& expectation) { return expectation.isLong != areLong; });
    return some;
}

// Fails the running test, with the difference, unless all of it is as it is written.
void expectAsWritten(const Expectation& expectation) {
    const QString expected = expectedAccount(expectation);
    FaultRun run(expectation.scenario, expectation.target);
    run.goThrough(expected);
    const QString account = run.account();
    if (account == expected) {
        return;
    }
    const QString actual = u"" ACTUAL_FOLDER "/"_s + QString::fromStdString(caseName(expectation)) + u".txt"_s;
    test::writeFile(actual, account.toUtf8());
    const QString wanted = test::folder() + u"/expected.txt"_s;
    test::writeFile(wanted, expected.toUtf8());
    QProcess diff;
    diff.start(u"diff"_s, {u"-u"_s, wanted, actual});
    diff.waitForFinished();
    ADD_FAILURE() << "what happened is not endings/" << expectation.ending.toStdString() << ".txt:\n"
                  << diff.readAllStandardOutput().toStdString();
}

class EndsAsWritten : public testing::TestWithParam<Expectation> {};

TEST_P(EndsAsWritten, Wholly) {
    expectAsWritten(GetParam());
}

// They wait for the minute without a byte: tests/faults/silent runs them side by side.
class SilentPortal : public testing::TestWithParam<Expectation> {};

TEST_P(SilentPortal, DISABLED_EndsAsWritten) {
    expectAsWritten(GetParam());
}

std::string nameOf(const testing::TestParamInfo<Expectation>& row) {
    return caseName(row.param);
}

INSTANTIATE_TEST_SUITE_P(Portal, EndsAsWritten, testing::ValuesIn(those(false)), nameOf);
INSTANTIATE_TEST_SUITE_P(Portal, SilentPortal, testing::ValuesIn(those(true)), nameOf);

TEST(FaultSuite, HasARowForEveryScenarioThatThePortalToolKnows) {
    std::set<std::string> written;
    for (const Expectation& expectation : expectations()) {
        written.insert(expectation.scenario.section(u'=', 0, 0).toStdString());
    }
    for (const faults::Scenario* const scenario : faults::scenarios()) {
        EXPECT_TRUE(written.contains(std::string(scenario->name))) << scenario->name;
    }
}

TEST(FaultSuite, SpoilsEachOfTheThreeAnswersInAtLeast120Ways) {
    std::set<QString> ways;
    for (const Expectation& expectation : expectations()) {
        if (expectation.target) {
            ways.insert(expectation.scenario);
        }
    }
    EXPECT_GE(ways.size(), 120U);
}

} // namespace

} // namespace faultsuite
