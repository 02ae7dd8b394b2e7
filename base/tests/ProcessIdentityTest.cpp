#include "base/ProcessIdentity.h"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(ProcessIdentity, KnowsItself) {
    EXPECT_TRUE(ProcessIdentity::self().isAlive());
    EXPECT_TRUE(ProcessIdentity::self().open());
    ProcessIdentity other = ProcessIdentity::self();
    other.started += 1;
    EXPECT_FALSE(other.isAlive());
    EXPECT_FALSE(other.open());
}

TEST(ProcessIdentity, ComesBackAsItWasWritten) {
    EXPECT_EQ(textOf({4711, 99999999999}), "4711 99999999999");
    EXPECT_EQ(parseProcessIdentity("4711 99999999999"), (ProcessIdentity{4711, 99999999999}));
}

TEST(ProcessIdentity, IsNoOtherText) {
    for (const char* text : {"", " ", "1", "1 ", " 1", "0 1", "-1 1", "1 -1", "1  1", "1 1 ", "x 1", "99999999999 1"}) {
        EXPECT_EQ(parseProcessIdentity(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace base
