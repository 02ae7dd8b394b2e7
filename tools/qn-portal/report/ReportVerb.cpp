#include "tools/qn-portal/report/ReportVerb.h"

#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/common/OutputFile.h"
#include "tools/qn-portal/report/Import.h"
#include "tools/qn-portal/report/Options.h"
#include "tools/qn-portal/report/Page.h"
#include "tools/qn-portal/report/ReportError.h"
#include "tools/qn-portal/report/Tables.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>

namespace portal {

namespace {

using namespace report;

std::atomic<bool> isCancelled{false};

// Ctrl-C ends an import between two lines, also one that waits for its input; at any other time it ends the program as
// always. A signal that is ignored stays so (`nohup`).
class CancelOnSignals {
public:
    CancelOnSignals() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            struct sigaction action {};
            action.sa_handler = [](int) { isCancelled = true; }; // without SA_RESTART: a read is to return
            sigaction(kSignals[i], nullptr, &before_[i]);
            if (before_[i].sa_handler != SIG_IGN) {
                sigaction(kSignals[i], &action, nullptr);
            }
        }
    }
    ~CancelOnSignals() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            sigaction(kSignals[i], &before_[i], nullptr);
        }
    }
    CancelOnSignals(const CancelOnSignals&) = delete;
    CancelOnSignals& operator=(const CancelOnSignals&) = delete;

private:
    static constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};
    std::array<struct sigaction, kSignals.size()> before_{};
};

bool beginsLikeADatabase(const std::string& path) {
    std::array<char, 16> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), bytes.size());
    return isDatabase({bytes.data(), static_cast<std::size_t>(file.gcount())});
}

void tell(const ImportResult& result) {
    std::fprintf(stderr, "qn-portal report: %lld events of %lld runs", static_cast<long long>(result.lines),
                 static_cast<long long>(result.added) + static_cast<long long>(result.known));
    if (result.known > 0) {
        std::fprintf(stderr, ", %lld of them known already", static_cast<long long>(result.known));
    }
    if (result.passed > 0) {
        std::fprintf(stderr, "; %lld lines were no analytics and are passed over",
                     static_cast<long long>(result.passed));
    }
    std::fprintf(stderr, "\n");
}

Database opened(const Options& options) {
    if (options.inputs.size() == 1 && !options.into && beginsLikeADatabase(options.inputs.front())) {
        return {options.inputs.front(), Access::kRead};
    }
    for (const std::string& input : options.inputs) {
        if (input != "-" && beginsLikeADatabase(input)) {
            throw ReportError(input + " is a database; it is read alone, without other files");
        }
    }
    Database database(options.into.value_or(std::string()), Access::kWrite);
    if (!options.inputs.empty()) {
        const CancelOnSignals onSignals;
        tell(importFiles(database, options.inputs, isCancelled));
    }
    return database;
}

void writePage(const std::string& path, const std::string& page) {
    OutputFile file(path);
    file.write(page);
    file.publish();
}

void print(const Options& options, const Figures& figures) {
    if (options.page && !options.format) {
        return;
    }
    const Format format = options.format.value_or(Format::kText);
    const std::string text = format == Format::kJson  ? jsonReport(figures)
                             : format == Format::kCsv ? csvReport(figures)
                                                      : textReport(figures);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw ReportError(std::string("the report cannot be printed: ") + std::strerror(errno));
    }
}

int show(const Options& options) {
    Database database = opened(options);
    const Figures figures = figuresOf(database, options.period);
    if (options.page) {
        const std::string& source = options.inputs.empty() ? *options.into : options.inputs.front();
        writePage(*options.page, htmlReport(figures, source, options.periodText));
    }
    print(options, figures);
    const auto fired = firedAlerts(options.alerts, figures);
    for (const std::string& sentence : fired) {
        std::fprintf(stderr, "qn-portal report: %s\n", sentence.c_str());
    }
    return fired.empty() ? kGood : kFoundErrors;
}

} // namespace

int runReport(std::span<const std::string> arguments) {
    try {
        const Options options = parseOptions(arguments, std::time(nullptr));
        if (options.wantsHelp) {
            std::fputs(helpText().c_str(), stdout);
            return kGood;
        }
        return show(options);
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "qn-portal report: %s\n", error.what());
        return kCannotDo;
    }
}

} // namespace portal
