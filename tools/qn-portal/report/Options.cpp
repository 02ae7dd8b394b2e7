#include "tools/qn-portal/report/Options.h"

#include "tools/qn-portal/common/Timestamp.h"
#include "tools/qn-portal/report/ReportError.h"

#include <charconv>

namespace portal::report {

namespace {

constexpr std::int64_t kSecondsOfADay = 86'400;

std::int64_t dayOf(const std::string& text) {
    const auto time = secondsOf(text + "T00:00:00Z");
    if (!time) {
        throw ReportError("\"" + text + "\" is no day such as 2026-11-21");
    }
    return *time;
}

std::int64_t daysOf(const std::string& text) {
    std::int64_t days = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    constexpr std::int64_t kMost = 1'000'000;
    if (error != std::errc() || end != text.data() + text.size() || days < 1 || days > kMost) {
        throw ReportError("\"" + text + "\" is no number of days");
    }
    return days;
}

class Parser {
public:
    Parser(std::span<const std::string> arguments, std::int64_t now) : arguments_(arguments), now_(now) {}

    Options parse() {
        while (at_ < arguments_.size()) {
            const std::string& argument = arguments_[at_++];
            if (argument.size() > 1 && argument.front() == '-') {
                takeOption(argument);
            } else {
                options_.inputs.push_back(argument);
            }
        }
        if (!options_.wantsHelp && options_.inputs.empty() && !options_.into) {
            throw ReportError("which file?");
        }
        return std::move(options_);
    }

private:
    void takeOption(const std::string& name) {
        if (name == "--help" || name == "-h") {
            options_.wantsHelp = true;
        } else if (name == "--json" || name == "--csv") {
            options_.format = name == "--json" ? Format::kJson : Format::kCsv;
        } else if (name == "--html") {
            options_.page = value(name);
        } else if (name == "--into") {
            options_.into = value(name);
        } else if (name == "--alert") {
            options_.alerts.push_back(parseAlert(value(name)));
        } else {
            takePeriod(name);
        }
    }

    void takePeriod(const std::string& name) {
        if (name == "--since") {
            const std::string day = value(name);
            options_.period.from = dayOf(day);
            options_.periodText = "since " + day;
        } else if (name == "--until") {
            const std::string day = value(name);
            options_.period.to = dayOf(day) + kSecondsOfADay;
            options_.periodText = (options_.periodText == "all days" ? "" : options_.periodText + " ") + "until " + day;
        } else if (name == "--days") {
            const std::string days = value(name);
            options_.period.from = now_ - daysOf(days) * kSecondsOfADay;
            options_.periodText = "the last " + days + " days";
        } else {
            throw ReportError("there is no option " + name);
        }
    }

    std::string value(const std::string& option) {
        if (at_ == arguments_.size()) {
            throw ReportError(option + " needs a value");
        }
        return arguments_[at_++];
    }

    std::span<const std::string> arguments_;
    std::int64_t now_;
    std::size_t at_ = 0;
    Options options_;
};

} // namespace

Options parseOptions(std::span<const std::string> arguments, std::int64_t now) {
    return Parser(arguments, now).parse();
}

std::string helpText() {
    return "qn-portal report [OPTION...] FILE...\n\n"
           "Draws the funnel out of collected analytics. FILE is a database of runs, or any number of files with\n"
           "analytics lines as an endpoint stores them: the posted bodies as they came, nginx's log of bodies, JSON\n"
           "lines with the body in one member; - is the standard input.\n\n"
           "  --into DB        keep the lines of the files in this database, then report on all that it holds;\n"
           "                   lines that it has already count once\n"
           "  --json           print the numbers as JSON\n"
           "  --csv            print the numbers as one long table\n"
           "  --html FILE      write them as a page with charts that needs nothing else\n"
           "  --since DAY      only runs that began on this day (UTC) or later\n"
           "  --until DAY      only runs that began on this day or before\n"
           "  --days N         only runs of the last N times 24 hours\n"
           "  --alert WHAT     end with status 1 when this holds, such as config.fail>2% (of the runs that started),\n"
           "                   finished<100 or download.p90>60; may be given more than once. There are:\n" +
           measuresHelp() +
           "\nExit status: 0 good, 1 an alert holds, 2 a wrong command line or input that cannot be read.\n";
}

} // namespace portal::report
