#include "tools/portal/Options.h"

#include <gtest/gtest.h>

using portal::Ending;
using portal::Options;
using portal::parseOptions;
using portal::Refusal;

namespace {

std::string refusalOf(const std::vector<std::string>& arguments) {
    const auto parsed = parseOptions(arguments);
    const auto* const refusal = std::get_if<Refusal>(&parsed);
    return refusal ? refusal->reason : "accepted";
}

} // namespace

TEST(PortalOptions, KnowsEachEnding) {
    const std::vector<std::pair<std::string, Ending>> table{
        {"install", Ending::kInstall},  {"open-link", Ending::kOpenLink}, {"config-error", Ending::kConfigError},
        {"http-404", Ending::kHttp404}, {"bad-image", Ending::kBadImage}, {"two-apps", Ending::kTwoApps}};
    for (const auto& [name, ending] : table) {
        const auto parsed = parseOptions({"--ending", name, "--image", "x.dmg"});
        ASSERT_TRUE(std::holds_alternative<Options>(parsed)) << name;
        EXPECT_EQ(std::get<Options>(parsed).ending, ending) << name;
    }
}

TEST(PortalOptions, TakesEveryValue) {
    const auto parsed =
        parseOptions({"--config", "c.json", "--image", "i.dmg", "--record", "r", "--link", "http://l/", "--app-name",
                      "Kit", "--command-line-args", "--a --b", "--port", "8080", "--auto-open"});
    ASSERT_TRUE(std::holds_alternative<Options>(parsed));
    const auto& options = std::get<Options>(parsed);
    EXPECT_EQ(options.configFile, "c.json");
    EXPECT_EQ(options.imageFile, "i.dmg");
    EXPECT_EQ(options.recordFile, "r");
    EXPECT_EQ(options.link, "http://l/");
    EXPECT_EQ(options.appName, "Kit");
    EXPECT_EQ(options.commandLineArgs, "--a --b");
    EXPECT_EQ(options.port, 8080);
    EXPECT_TRUE(options.autoOpen);
}

TEST(PortalOptions, SaysWhatIsWrong) {
    EXPECT_EQ(refusalOf({"--colour"}), "there is no option \"--colour\"");
    EXPECT_EQ(refusalOf({"install"}), "there is no option \"install\"");
    EXPECT_EQ(refusalOf({"--ending"}), "--ending needs a value");
    EXPECT_EQ(refusalOf({"--ending", "happy"}), "there is no ending \"happy\"");
    EXPECT_EQ(refusalOf({}), "the ending \"install\" needs --image FILE");
    EXPECT_EQ(refusalOf({"--ending", "two-apps"}), "the ending \"two-apps\" needs --image FILE");
    for (const char* port : {"", "x", "-1", "65536", "80x", "99999999999"}) {
        EXPECT_EQ(refusalOf({"--port", port}), std::string("\"") + port + "\" is no port");
    }
}

TEST(PortalOptions, NeedsNoImageWhereNoneIsServed) {
    for (const char* ending : {"open-link", "config-error", "http-404", "bad-image"}) {
        EXPECT_EQ(refusalOf({"--ending", ending}), "accepted") << ending;
    }
    EXPECT_EQ(refusalOf({"--config", "c.json"}), "accepted");
}

TEST(PortalOptions, ExplainsEveryOption) {
    EXPECT_TRUE(std::holds_alternative<portal::HelpWanted>(parseOptions({"--help"})));
    const auto help = portal::helpText();
    for (const char* option : {"--ending", "--auto-open", "--link", "--config", "--image", "--app-name",
                               "--command-line-args", "--record", "--port"}) {
        EXPECT_NE(help.find(option), std::string::npos) << option;
    }
}
