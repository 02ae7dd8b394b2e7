#include "tests/tools/qn-portal/ServeProgram.h"
#include "tools/qn-portal/Verbs.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string contentsOf(const char* path) {
    const std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// As the page writes it (man(7)): a backslash is special everywhere, a full stop and an apostrophe where a line begins.
std::string escapedLine(const std::string& line) {
    std::string text;
    for (const char letter : line) {
        text += letter == '\\' ? "\\e" : std::string(1, letter);
    }
    return text.starts_with('.') || text.starts_with('\'') ? "\\&" + text : text;
}

TEST(ManPage, SaysOfEachVerbWhatItsHelpSays) {
    const std::string page = contentsOf(MAN_PAGE);
    for (const portal::Verb& verb : portal::verbs()) {
        std::istringstream help(ServeProgram::runVerb(std::string(verb.name), {"--help"}).output);
        std::string text;
        for (std::string line; std::getline(help, line);) {
            text += escapedLine(line) + '\n';
        }
        EXPECT_FALSE(text.empty()) << verb.name;
        EXPECT_NE(page.find(text), std::string::npos)
            << verb.name << ": write the page anew with tools/qn-portal/man-page";
    }
}

} // namespace
