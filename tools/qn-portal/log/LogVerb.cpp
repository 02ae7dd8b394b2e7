#include "tools/qn-portal/log/LogVerb.h"

#include "base/Files.h"
#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/common/OutputFile.h"
#include "tools/qn-portal/log/Bundle.h"
#include "tools/qn-portal/log/LogError.h"
#include "tools/qn-portal/log/LogFile.h"
#include "tools/qn-portal/log/Options.h"
#include "tools/qn-portal/log/Printer.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace portal {

namespace {

using namespace eventlog;

std::atomic<bool> isEnded{false};

void endOnSignals() {
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        action.sa_handler = [](int) { isEnded = true; }; // without SA_RESTART: a wait is to return
        sigaction(signal, &action, nullptr);
    }
}

std::unique_ptr<Printer> printerOf(const Options& options, Output& output) {
    switch (options.form) {
    case Form::kJson:
        return jsonPrinter(output);
    case Form::kPage:
        return pagePrinter(output);
    case Form::kText:
        break;
    }
    return textPrinter(output);
}

void print(std::string_view text) {
    if (!base::writeAll(STDOUT_FILENO, text)) {
        throw LogError(std::string("the output cannot be written: ") + std::strerror(errno));
    }
}

int show(const Options& options) {
    LogFile file(options.input);
    std::optional<OutputFile> page;
    if (!options.page.empty()) {
        page.emplace(options.page);
    }
    Output output([&](std::string_view text) { page ? page->write(text) : print(text); });
    const auto printer = printerOf(options, output);
    RunSplitter splitter(*printer);
    const auto receiver = [&](const Entry& entry) { splitter.add(entry); };
    printer->begin();
    if (options.isFollowing) {
        endOnSignals();
        if (page) {
            page->publish(); // it is looked at while it grows
        }
        file.follow(
            receiver, [&] { output.flush(); }, isEnded);
    } else {
        file.readAll(receiver);
    }
    splitter.finish();
    printer->end();
    output.flush();
    if (page) {
        page->publish();
    }
    return kGood;
}

} // namespace

int runLog(std::span<const std::string> arguments) {
    try {
        const Options options = parseOptions(arguments);
        if (options.wantsHelp) {
            std::fputs(helpText().c_str(), stdout);
            return kGood;
        }
        if (!options.bundle.empty()) {
            LogFile file(options.input);
            writeBundle(file, options.bundle);
            return kGood;
        }
        return show(options);
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "qn-portal log: %s\n", error.what());
        return kCannotDo;
    }
}

} // namespace portal
