#include "tools/qn-portal/Verbs.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

int run(const std::vector<std::string>& arguments) {
    return portal::runProgram(arguments);
}

TEST(PortalFront, RefusesACommandLineWithoutAVerb) {
    CaptureStderr();
    EXPECT_EQ(run({}), 2);
    EXPECT_EQ(GetCapturedStderr(), "qn-portal: which verb?; see qn-portal --help\n");
}

TEST(PortalFront, RefusesAVerbThatThereIsNot) {
    CaptureStderr();
    EXPECT_EQ(run({"chekc", "x"}), 2);
    EXPECT_EQ(GetCapturedStderr(), "qn-portal: there is no verb \"chekc\"; see qn-portal --help\n");
}

TEST(PortalFront, NamesEveryVerbInItsHelp) {
    CaptureStdout();
    EXPECT_EQ(run({"--help"}), 0);
    const std::string help = GetCapturedStdout();
    for (const char* const name : {"brand", "check", "log", "report", "serve"}) {
        EXPECT_NE(help.find("\n  " + std::string(name) + " "), std::string::npos) << name;
    }
}

} // namespace
