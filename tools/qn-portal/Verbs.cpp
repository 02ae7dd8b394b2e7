#include "tools/qn-portal/Verbs.h"

#include "tools/qn-portal/brand/BrandVerb.h"
#include "tools/qn-portal/check/CheckVerb.h"
#include "tools/qn-portal/log/LogVerb.h"
#include "tools/qn-portal/report/ReportVerb.h"
#include "tools/qn-portal/screens/ShownScreens.h"
#include "tools/qn-portal/serve/ServeVerb.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iomanip>
#include <sstream>

namespace portal {

namespace {

constexpr std::array kVerbs{
    Verb{"brand", "begins a brand's folder, and shows every screen with it", runBrand},
    Verb{"check", "finds the mistakes of a portal: configuration, image, bundle, servers", runCheck},
    Verb{"log", "shows the runs in an event log: what happened, how long it took, how it ended", runLog},
    Verb{"report", "draws the funnel out of collected analytics", runReport},
    Verb{"serve", "is a portal in a box, good or with any fault there is", runServe},
};

const Verb* verbCalled(const std::string& name) {
    const auto found = std::ranges::find(kVerbs, name, &Verb::name);
    return found == kVerbs.end() ? nullptr : &*found;
}

int refuse(const std::string& reason) {
    std::fprintf(stderr, "qn-portal: %s; see qn-portal --help\n", reason.c_str());
    return kCannotDo;
}

int runVerb(const std::string& name, std::span<const std::string> arguments) {
    const Verb* const verb = verbCalled(name);
    return verb == nullptr ? refuse("there is no verb \"" + name + "\"") : verb->run(arguments);
}

} // namespace

std::span<const Verb> verbs() {
    return kVerbs;
}

std::string frontHelp() {
    std::ostringstream text;
    text << "qn-portal VERB [OPTION…] [ARGUMENT…]\n\nFor the people who run a portal.\n\n";
    for (const Verb& verb : kVerbs) {
        text << "  " << std::left << std::setw(8) << verb.name << verb.summary << '\n';
    }
    text << "\nqn-portal VERB --help tells more of one verb.\n"
            "Exit status: 0 good, 1 errors were found, 2 a wrong command line or input that cannot be read.\n";
    return text.str();
}

int runProgram(std::span<const std::string> arguments) {
    if (arguments.empty()) {
        return refuse("which verb?");
    }
    const std::string& first = arguments.front();
    if (first == screens::kShowScreens) {
        return screens::showScreens(arguments.subspan(1));
    }
    if (first == "--help" || first == "-h" || (first == "help" && arguments.size() == 1)) {
        std::fputs(frontHelp().c_str(), stdout);
        return kGood;
    }
    if (first == "help") {
        const std::string help = "--help";
        return runVerb(arguments[1], {&help, 1});
    }
    return runVerb(first, arguments.subspan(1));
}

} // namespace portal
