#pragma once

#include "tools/qn-portal/log/EntryReader.h"
#include "tools/qn-portal/log/Output.h"
#include "tools/qn-portal/log/RunStory.h"

#include <cstdint>
#include <memory>

namespace portal::eventlog {

// One form of showing a log. The calls come in the order begin, (beginRun, entry…, endRun)…, end.
class Printer {
public:
    virtual ~Printer() = default;
    virtual void begin() {}
    virtual void beginRun(std::int64_t number, const Entry& first) = 0;
    virtual void entry(std::int64_t run, const Entry& entry, const RunStory& story) = 0;
    virtual void endRun(const RunStory& story) = 0;
    virtual void end() {}
};

std::unique_ptr<Printer> textPrinter(Output& output);
std::unique_ptr<Printer> jsonPrinter(Output& output);
std::unique_ptr<Printer> pagePrinter(Output& output);

// An event in a few words: its name, its result, its reason.
std::string eventWords(std::string_view json);

// How a run ended, in a sentence or two.
std::string verdict(const RunStory& story);

// Gives each entry of a log to a printer, with the run it belongs to.
class RunSplitter {
public:
    explicit RunSplitter(Printer& printer) : printer_(printer) {}

    void add(const Entry& entry);
    void finish();

private:
    Printer& printer_;
    std::int64_t number_ = 0;
    RunStory story_;
};

} // namespace portal::eventlog
