#include "tools/qn-portal/report/StoredLine.h"

#include <gtest/gtest.h>

using portal::report::bodyIn;

namespace {

const std::string kBody = "2026-11-08T20:38:46Z ci=a {\"EVT\":\"Start\",\"APP\":\"Kit\\\\x41 \xC3\xA9\"}\r\n"
                          "2026-11-08T20:38:47+01:00 ci=a {\"EVT\":\"End\"}";

} // namespace

TEST(StoredLine, FindsABodyInALineOfJson) {
    EXPECT_EQ(bodyIn(R"({"time":"2026-11-08T20:39:00+00:00","status":204,"body":"2026-11-08T20:38:46Z ci=a )"
                     R"({\"EVT\":\"Start\",\"APP\":\"Kit\\\\x41 é\"}\r\n2026-11-08T20:38:47+01:00 ci=a )"
                     R"({\"EVT\":\"End\"}"})"),
              kBody);
}

TEST(StoredLine, FindsABodyInALineThatNginxEscaped) {
    EXPECT_EQ(bodyIn(R"(127.0.0.1 - [08/Nov/2026:20:39:00 +0000] "2026-11-08T20:38:46Z ci=a )"
                     R"({\x22EVT\x22:\x22Start\x22,\x22APP\x22:\x22Kit\x5C\x5Cx41 \xC3\xA9\x22}\x0D\x0A)"
                     R"(2026-11-08T20:38:47+01:00 ci=a {\x22EVT\x22:\x22End\x22}" 204)"),
              kBody + "\" 204");
}

TEST(StoredLine, FindsABodyThatStandsUnescapedBehindOtherText) {
    EXPECT_EQ(bodyIn(R"(POST /a "2026-11-08T20:38:46Z ci=a {"EVT":"End","APP":"\\x41"}")"),
              R"(2026-11-08T20:38:46Z ci=a {"EVT":"End","APP":"\\x41"}")");
}

TEST(StoredLine, FindsNoBodyWhereThereIsNone) {
    for (const char* const line : {"", "x", " ci=", "{\"a\":1}", "{\"body\":\"hello\"}",
                                   "{\"body\":\" ci=", "{ ci=", "GET / HTTP/1.1", "\\x22 \\x", "\\x2"}) {
        EXPECT_EQ(bodyIn(line), "") << line;
    }
}
