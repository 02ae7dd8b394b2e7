#include "tools/qn-portal/log/Options.h"

#include "tools/qn-portal/log/LogError.h"

namespace portal::eventlog {

namespace {

class Parser {
public:
    explicit Parser(std::span<const std::string> arguments) : arguments_(arguments) {}

    Options parse() {
        while (at_ < arguments_.size()) {
            take(arguments_[at_++]);
        }
        if (options_.input.empty() && !options_.wantsHelp) {
            throw LogError("which file?");
        }
        if (options_.isFollowing && !options_.bundle.empty()) {
            throw LogError("--follow and --bundle do not go together");
        }
        return options_;
    }

private:
    void take(const std::string& argument) {
        if (argument == "--help" || argument == "-h") {
            options_.wantsHelp = true;
        } else if (argument == "--json") {
            options_.form = Form::kJson;
        } else if (argument == "--html") {
            options_.form = Form::kPage;
            if (at_ < arguments_.size() && arguments_[at_].ends_with(".html")) {
                options_.page = arguments_[at_++];
            }
        } else if (argument == "--follow" || argument == "-f") {
            options_.isFollowing = true;
        } else if (argument == "--bundle") {
            if (at_ == arguments_.size()) {
                throw LogError("--bundle needs a file");
            }
            options_.bundle = arguments_[at_++];
        } else if (argument.size() > 1 && argument.front() == '-') {
            throw LogError("there is no option " + argument);
        } else if (!options_.input.empty()) {
            throw LogError("one file at a time; " + argument + " is too much");
        } else {
            options_.input = argument;
        }
    }

    std::span<const std::string> arguments_;
    std::size_t at_ = 0;
    Options options_;
};

} // namespace

Options parseOptions(std::span<const std::string> arguments) {
    return Parser(arguments).parse();
}

std::string helpText() {
    return "qn-portal log [OPTION...] FILE\n\n"
           "Shows the runs in an event log (install.log; - is the standard input): what happened when, how each run\n"
           "ended, and what went wrong in one sentence.\n\n"
           "  --json            print one JSON object for each entry, one a line\n"
           "  --html [X.html]   write a page, to the standard output or to a file whose name ends with .html\n"
           "  --follow, -f      go on with what is appended, until Ctrl-C\n"
           "  --bundle OUT.zip  write an archive for support, without what can identify a person; what is taken out\n"
           "                    is listed first\n\n"
           "Exit status: 0 good, 2 a wrong command line or input that is no event log.\n";
}

} // namespace portal::eventlog
