#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>

namespace {

std::map<std::string, std::string> entry() {
    std::ifstream file(DESKTOP_ENTRY);
    std::map<std::string, std::string> values;
    for (std::string line; std::getline(file, line);) {
        if (const auto equals = line.find('='); equals != std::string::npos) {
            values[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    return values;
}

} // namespace

TEST(DesktopEntry, PassesTheAddressBehindTheOptionWord) {
    const std::string command = entry()["Exec"];
    EXPECT_EQ(command.substr(0, 1), "/");
    EXPECT_EQ(command.substr(command.find(' ')), " --open-url %u");
}

TEST(DesktopEntry, RegistersTheSchemeAndStaysOutOfMenus) {
    EXPECT_EQ(entry()["MimeType"], "x-scheme-handler/qnd;");
    EXPECT_EQ(entry()["Type"], "Application");
    EXPECT_EQ(entry()["NoDisplay"], "true");
}
