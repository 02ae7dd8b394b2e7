#include "tools/qn-portal/check/CheckVerb.h"

#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/check/CheckOptions.h"
#include "tools/qn-portal/check/CheckOutput.h"
#include "tools/qn-portal/check/CheckRun.h"

#include <QFileInfo>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace portal {

namespace {

bool wantsColor() {
    return ::isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr;
}

std::string written(const check::CheckOptions& options, const check::CheckReport& report) {
    switch (options.output) {
    case check::CheckOptions::Output::kJson:
        return check::jsonOutput(report);
    case check::CheckOptions::Output::kJUnit:
        return check::junitOutput(report, options.isStrict);
    case check::CheckOptions::Output::kPeople:
        return check::textOutput(report, wantsColor());
    }
    return {};
}

int run(const check::CheckOptions& options) {
    const check::CheckReport report = check::runChecks(options);
    for (const QString& refusal : report.refusals) {
        std::fprintf(stderr, "qn-portal check: %s\n", refusal.toLocal8Bit().constData());
    }
    if (report.checked > 0 || options.output != check::CheckOptions::Output::kPeople) {
        std::fputs(written(options, report).c_str(), stdout);
    }
    if (std::fflush(stdout) != 0) {
        std::perror("qn-portal check: standard output");
        return kCannotDo;
    }
    return check::statusOf(report, options.isStrict);
}

} // namespace

int runCheck(std::span<const std::string> arguments) {
    const auto parsed = check::parseCheckOptions(arguments);
    if (std::holds_alternative<check::HelpWanted>(parsed)) {
        std::fputs(check::checkHelp().c_str(), stdout);
        return kGood;
    }
    if (std::holds_alternative<check::ListWanted>(parsed)) {
        std::fputs(check::ruleTable().c_str(), stdout);
        return kGood;
    }
    if (const auto* const refusal = std::get_if<check::Refusal>(&parsed)) {
        std::fprintf(stderr, "qn-portal check: %s; see qn-portal check --help\n", refusal->reason.c_str());
        return kCannotDo;
    }
    auto options = std::get<check::CheckOptions>(parsed);
    options.program = QFileInfo(QString::fromUtf8("/proc/self/exe")).symLinkTarget();
    return run(options);
}

} // namespace portal
