#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

// What the portal was asked for on its command line. Pure.
namespace portal {

enum class Ending { kInstall, kOpenLink, kConfigError, kHttp404, kBadImage, kTwoApps };

struct Options {
    Ending ending = Ending::kInstall;
    bool autoOpen = false;
    std::optional<std::string> configFile;
    std::optional<std::string> imageFile;
    std::optional<std::string> recordFile;
    std::optional<std::string> link; // absent: a page of the portal's own
    std::string appName = "Sample";
    std::string commandLineArgs;
    int port = 0; // 0: any free one
};

struct HelpWanted {};
// One sentence for the user.
struct Refusal {
    std::string reason;
};

// The arguments without the program's name. Refuses what it does not know, a value that is missing, and an ending that
// needs an image when none is given.
std::variant<Options, HelpWanted, Refusal> parseOptions(const std::vector<std::string>& arguments);

std::string helpText();

} // namespace portal
