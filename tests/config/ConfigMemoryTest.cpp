#include "tests/config/ConfigFetchFixture.h"
#include "tests/support/TestEnvironment.h"

using namespace Qt::StringLiterals;

namespace {

// AddressSanitizer puts a margin around each of the values, and ThreadSanitizer notes who touched each byte, which is
// not what is measured here.
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
constexpr long kMargins = 4;
#else
constexpr long kMargins = 1;
#endif

constexpr std::size_t kLargestBody = std::size_t{4} * 1024 * 1024;

// The largest resident size that this process has had, in KiB.
long peakMemory() {
    for (const QByteArray& line : test::readFile(u"/proc/self/status"_s).split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.simplified().split(' ').at(1).toLong();
        }
    }
    return -1;
}

std::string filledWith(const std::string& piece) {
    std::string body = R"({"userAction":[)";
    while (body.size() + piece.size() + 3 <= kLargestBody) {
        body += piece;
    }
    return body + "0]}";
}

} // namespace

class ConfigMemory : public ConfigFetch, public testing::WithParamInterface<const char*> {};

TEST_P(ConfigMemory, StaysBelowAHundredMebibytesWhateverTheAnswerHolds) {
    fetchAnswered("{}");
    const std::string body = filledWith(GetParam());
    const long before = peakMemory();
    test::consoleLinesOf([&] { fetchAnswered(body); });
    EXPECT_GT(before, 0);
    EXPECT_LT(peakMemory() - before, kMargins * 100 * 1024);
}

INSTANTIATE_TEST_SUITE_P(Fillers, ConfigMemory,
                         testing::Values("{\"a\":1},", "{},", "[],", "1,", "\"\",", "{\"a\":{\"a\":[]}},",
                                         "{\"a\":\"a text of some length that is not short\"},"));
