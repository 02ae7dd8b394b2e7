#include "base/ProcessStat.h"

#include <gtest/gtest.h>

#include <string>

namespace base {
namespace {

TEST(ProcessStat, TellsTheParentBehindANameWithBlanksAndParentheses) {
    EXPECT_EQ(parentOf("7 (a) b (c) S 12 7 7 0 -1 4194560\n"), 12);
    EXPECT_EQ(parentOf("7 (a) S"), std::nullopt);
    EXPECT_EQ(parentOf(""), std::nullopt);
}

TEST(ProcessStat, TellsTheStartTimeBehindAnyName) {
    const std::string fields = "S 1 1 1 0 -1 4194560 1 0 0 0 0 0 0 0 20 0 1 0 8472 1 1\n";
    EXPECT_EQ(startTimeOf("12 (plain) " + fields), 8472U);
    EXPECT_EQ(startTimeOf("12 (a) b) (c) " + fields), 8472U);
    EXPECT_EQ(startTimeOf("12 (line\nend) " + fields), 8472U);
}

TEST(ProcessStat, TellsNoStartTimeOfOneThatIsOnlyWaitingToBeReaped) {
    EXPECT_EQ(startTimeOf("12 (dead) Z 1 1 1 0 -1 4194560 1 0 0 0 0 0 0 0 20 0 1 0 8472 1 1"), std::nullopt);
    EXPECT_EQ(startTimeOf("12 (dead) X 1 1 1 0 -1 4194560 1 0 0 0 0 0 0 0 20 0 1 0 8472 1 1"), std::nullopt);
}

TEST(ProcessStat, TellsNothingOfATruncatedLine) {
    EXPECT_EQ(startTimeOf(""), std::nullopt);
    EXPECT_EQ(startTimeOf("12 (cut)"), std::nullopt);
    EXPECT_EQ(startTimeOf("12 (cut) S 1 1"), std::nullopt);
    EXPECT_EQ(startTimeOf("7 (a) S 1 7 7 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 x 1"), std::nullopt);
}

} // namespace
} // namespace base
