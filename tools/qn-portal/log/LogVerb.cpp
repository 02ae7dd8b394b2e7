#include "tools/qn-portal/log/LogVerb.h"

#include "base/Descriptor.h"
#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/log/Bundle.h"
#include "tools/qn-portal/log/LogError.h"
#include "tools/qn-portal/log/LogFile.h"
#include "tools/qn-portal/log/Options.h"
#include "tools/qn-portal/log/Printer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

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

class OutputFile {
public:
    explicit OutputFile(const std::string& path)
        : file_(path.empty() ? dup(STDOUT_FILENO)
                             : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
        if (!file_) {
            throw LogError((path.empty() ? "the output" : path) + " cannot be written: " + std::strerror(errno));
        }
    }

    int descriptor() const { return file_.get(); }

private:
    base::Descriptor file_;
};

int show(const Options& options) {
    LogFile file(options.input);
    const OutputFile target(options.page);
    const std::string name = options.page.empty() ? "the output" : options.page;
    Output output([&](std::string_view text) { writeAll(target.descriptor(), name, text); });
    const auto printer = printerOf(options, output);
    RunSplitter splitter(*printer);
    const auto receiver = [&](const Entry& entry) { splitter.add(entry); };
    printer->begin();
    if (options.isFollowing) {
        endOnSignals();
        file.follow(
            receiver, [&] { output.flush(); }, isEnded);
    } else {
        file.readAll(receiver);
    }
    splitter.finish();
    printer->end();
    output.flush();
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
    } catch (const LogError& error) {
        std::fprintf(stderr, "qn-portal log: %s\n", error.what());
        return kCannotDo;
    }
}

} // namespace portal
