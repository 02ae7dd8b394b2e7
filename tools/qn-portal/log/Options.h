#pragma once

#include <span>
#include <string>

namespace portal::eventlog {

enum class Form { kText, kJson, kPage };

// What the command line of `qn-portal log` asks for.
struct Options {
    bool wantsHelp = false;
    std::string input;
    Form form = Form::kText;
    std::string page; // the file for the page; empty for the standard output
    bool isFollowing = false;
    std::string bundle; // the archive to write; empty for none
};

// Throws LogError, with one sentence.
Options parseOptions(std::span<const std::string> arguments);

std::string helpText();

} // namespace portal::eventlog
