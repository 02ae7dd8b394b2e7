#pragma once

#include "tools/qn-portal/Verb.h"

#include <span>
#include <string>

// The front end: which verbs there are, and which one a command line asks for. A verb is added with one row here and a
// folder of its own.
namespace portal {

std::span<const Verb> verbs();

// `--help`'s text, with its line ends.
std::string frontHelp();

// Runs what the arguments after the program's name ask for and gives the exit status.
int runProgram(std::span<const std::string> arguments);

} // namespace portal
