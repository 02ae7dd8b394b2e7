#include "tools/qn-portal/check/CheckOptions.h"

namespace portal::check {

namespace {

constexpr const char* kHelp =
    R"(qn-portal check [OPTION…] TARGET…

Finds the mistakes of a portal before a user does. It goes the installer's own way, with the installer's own code, as
far as the targets lead: from a bundle to the configurations that it asks for, from there to the image and the analytics
endpoint, and into the image.

A TARGET is a configuration's address or file, an image (a file, or an address that ends in .dmg), a bundle, a brand's
folder, or a folder with any of them. Images of a folder stand for those of the same name that a configuration leads to.

  --offline         ask no server: look only at what is in the files
  --local           the portal is on this machine on purpose: http and loopback addresses are meant
  --languages LIST  ask for the configuration in these, such as en-US,de-DE (otherwise: those of the bundle, or en-US,
                    de-DE and ja-JP)
  --json            {"findings": […], "checked": N} instead of text for people
  --junit           a JUnit report instead, one case for each check
  --strict          warnings and notes count as well
  --list            list every check, as docs/portal.md has it
  --help            this text

To the analytics endpoint an empty POST is sent, which counts as nothing.

Exit status: 0 no errors (with --strict: nothing found), 1 errors, 2 a target cannot be checked.
)";

} // namespace

std::variant<CheckOptions, HelpWanted, ListWanted, Refusal> parseCheckOptions(std::span<const std::string> arguments) {
    CheckOptions options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (argument == "--help" || argument == "-h") {
            return HelpWanted{};
        }
        if (argument == "--list") {
            return ListWanted{};
        }
        if (argument == "--offline") {
            options.isOffline = true;
        } else if (argument == "--local") {
            options.isLocal = true;
        } else if (argument == "--strict") {
            options.isStrict = true;
        } else if (argument == "--json") {
            options.output = CheckOptions::Output::kJson;
        } else if (argument == "--junit") {
            options.output = CheckOptions::Output::kJUnit;
        } else if (argument == "--languages") {
            if (++at == arguments.size()) {
                return Refusal{"--languages needs a value"};
            }
            options.locales = QString::fromStdString(arguments[at]).split(QLatin1Char(','), Qt::SkipEmptyParts);
        } else if (argument.starts_with("-") && argument != "-") {
            return Refusal{"there is no option " + argument};
        } else {
            options.targets += QString::fromLocal8Bit(argument.c_str());
        }
    }
    if (options.targets.isEmpty()) {
        return Refusal{"which configuration, image or bundle?"};
    }
    return options;
}

std::string checkHelp() {
    return kHelp;
}

} // namespace portal::check
