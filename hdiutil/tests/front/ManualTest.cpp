#include "base/Files.h"
#include "hdiutil/front/Arguments.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

namespace hdi::test {
namespace {

using testing::ElementsAre;

std::string fileText(const std::string& name) {
    return base::readSmallFile(std::string(HDIUTIL_SOURCE) + "/" + name).value();
}

// The verbs and options of --help.
std::set<std::string> helpWords() {
    std::set<std::string> words;
    const std::string help = helpText();
    const std::regex option("(^|[ ,\\[])(--?[a-z]+)");
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at) {
        words.insert((*at)[2]);
    }
    const std::regex verb("\n  ([a-z]+)(, ([a-z]+))?");
    for (std::sregex_iterator at(help.begin(), help.end(), verb), end; at != end; ++at) {
        words.insert((*at)[1]);
        if ((*at)[3].matched) {
            words.insert((*at)[3]);
        }
    }
    return words;
}

Words completed(const Words& typed) {
    std::string words = "hdiutil";
    for (const std::string& word : typed) {
        words += " " + shellWord(word);
    }
    const Outcome outcome =
        runProgram({"bash", "-c",
                    ". \"$0\"; COMP_WORDS=(" + words + "); COMP_CWORD=" + std::to_string(typed.size()) +
                        "; _hdiutil; printf '%s\\n' \"${COMPREPLY[@]}\"",
                    std::string(HDIUTIL_SOURCE) + "/hdiutil.bash"});
    EXPECT_EQ(outcome.err, "");
    Words found;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
        found.push_back(line);
    }
    return found;
}

TEST(Manual, NamesEveryVerbAndOptionOfTheHelp) {
    EXPECT_GT(helpWords().size(), 30U);
    const std::string page = std::regex_replace(fileText("hdiutil.1"), std::regex("\\\\-"), "-");
    for (const std::string& word : helpWords()) {
        EXPECT_THAT(page, testing::HasSubstr(word));
    }
}

TEST(Completion, NamesEveryVerbAndOptionOfTheHelp) {
    const std::string script = fileText("hdiutil.bash");
    for (const std::string& word : helpWords()) {
        EXPECT_THAT(script, testing::HasSubstr(word));
    }
}

TEST(Completion, GoesByWhatWasTyped) {
    EXPECT_THAT(completed({"ex"}), ElementsAre("extract"));
    EXPECT_THAT(completed({"create", "-enc"}), ElementsAre("-encryption"));
    EXPECT_THAT(completed({"create", "-encryption", "AES-2"}), ElementsAre("AES-256"));
    EXPECT_THAT(completed({"create", "-format", "UD"}), ElementsAre("UDRO", "UDZO", "UDBZ"));
    EXPECT_THAT(completed({"convert", "a.dmg", "-format", "UDT"}), ElementsAre("UDTO"));
    EXPECT_THAT(completed({"attach", std::string(TEST_IMAGES) + "/apfs-gpt-adc"}),
                ElementsAre(std::string(TEST_IMAGES) + "/apfs-gpt-adc-empty.dmg"));
}

} // namespace
} // namespace hdi::test
