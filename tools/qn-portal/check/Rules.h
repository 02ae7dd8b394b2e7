#pragma once

#include <span>
#include <string_view>
#include <vector>

// Everything that `qn-portal check` can find. The table is the one source: the page in docs/ shows it, and a test
// compares the two.
namespace portal::check {

enum class Severity {
    kError,   // the installation ends in a failure, for everybody or for some
    kWarning, // it works, and sooner or later it will not, or not as meant
    kNote,    // worth knowing
};

struct Rule {
    std::string_view code; // never changes its meaning
    Severity severity;
    // English sentences; %1, %2, … stand for what the finding is about.
    std::string_view what;
    std::string_view userSees; // screen and log line
    std::string_view fix;
};

// By area, in the order of the page.
std::span<const Rule> documentRules();      // the configuration's text
std::span<const Rule> configurationRules(); // what it says
std::span<const Rule> addressRules();
std::span<const Rule> transferRules(); // answers, TLS, the analytics endpoint
std::span<const Rule> imageRules();
std::span<const Rule> bundleRules();

std::vector<const Rule*> rules();
const Rule* ruleCalled(std::string_view code); // null when there is none

// "error", "warning", "note"
std::string_view nameOf(Severity severity);

} // namespace portal::check
