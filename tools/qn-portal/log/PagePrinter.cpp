#include "tools/qn-portal/common/Html.h"
#include "tools/qn-portal/log/Printer.h"

namespace portal::eventlog {

namespace {

constexpr std::string_view kHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<title>Event log</title>
<style>
:root { color-scheme: light dark; --paper: #ffffff; --ink: #1a1a1a; --quiet: #5a5a5a; --line: #d4d4d8; --bad: #b3261e;
        --event: #1f5fbf; }
@media (prefers-color-scheme: dark) {
:root { --paper: #15171a; --ink: #ececec; --quiet: #a8a8ad; --line: #3a3d42; --bad: #ff8a80; --event: #7fb0f5; }
}
body { background: var(--paper); color: var(--ink); font: 15px/1.5 system-ui, sans-serif; margin: 0 auto;
       max-width: 70rem; padding: 1.5rem; }
h2 { font-size: 1.15rem; margin: 2rem 0 .5rem; }
table { border-collapse: collapse; width: 100%; }
th, td { border-bottom: 1px solid var(--line); padding: .2rem .6rem .2rem 0; text-align: left; vertical-align: top; }
th:nth-child(-n+2) { width: 5rem; }
td.seconds { text-align: right; white-space: nowrap; }
td.message { overflow-wrap: anywhere; white-space: pre-wrap; }
.ERROR td { color: var(--bad); } .EVT td { color: var(--event); } .foreign td { color: var(--quiet); }
p.good::before { content: "\2713\00a0"; } p.bad::before { color: var(--bad); content: "\2717\00a0"; }
</style>
</head>
<body>
<main>
<h1>Event log</h1>
)html";

class PagePrinter : public Printer {
public:
    explicit PagePrinter(Output& output) : output_(output) {}

    void begin() override { output_ << kHead; }

    void beginRun(std::int64_t number, const Entry& first) override {
        output_ << "<section>\n<h2>Run " << std::to_string(number) << ": " << escaped(first.time)
                << "</h2>\n<table><thead><tr><th scope=\"col\">after</th><th scope=\"col\">level</th>"
                   "<th scope=\"col\">message</th></tr></thead><tbody>\n";
    }

    void entry(std::int64_t, const Entry& entry, const RunStory& story) override {
        const bool isForeign = entry.kind == Entry::Kind::kForeign;
        const std::string level = isForeign ? "foreign" : escaped(entry.level);
        const std::string message =
            entry.kind == Entry::Kind::kEvent ? eventWords(entry.message) : std::string(entry.message);
        output_ << "<tr class=\"" << level << "\"><td class=\"seconds\">" << std::to_string(story.seconds())
                << " s</td><td>" << level << "</td><td class=\"message\">" << escaped(message)
                << (entry.isCut ? " [cut]" : "") << "</td></tr>\n";
        output_.flushWhenFull();
    }

    void endRun(const RunStory& story) override {
        output_ << "</tbody></table>\n<p class=\"" << (story.problem().empty() ? "good" : "bad") << "\">"
                << escaped(verdict(story)) << "</p>\n</section>\n";
    }

    void end() override { output_ << "</main>\n</body>\n</html>\n"; }

private:
    Output& output_;
};

} // namespace

std::unique_ptr<Printer> pagePrinter(Output& output) {
    return std::make_unique<PagePrinter>(output);
}

} // namespace portal::eventlog
