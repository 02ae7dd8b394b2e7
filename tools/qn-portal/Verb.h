#pragma once

#include <span>
#include <string>
#include <string_view>

// What qn-portal's front end knows of its verbs.
namespace portal {

// Exit statuses of every verb.
inline constexpr int kGood = 0;
inline constexpr int kFoundErrors = 1;
inline constexpr int kCannotDo = 2; // a wrong command line, or input that is not what the verb reads

struct Verb {
    std::string_view name;
    std::string_view summary; // one line of --help, without a full stop
    // Runs the verb with the arguments after its name and gives the exit status. `--help` among them prints the verb's
    // own help and does nothing else. Called once, on the main thread, before any other thread exists and without an
    // application object: a verb that needs one makes it.
    int (*run)(std::span<const std::string> arguments);
};

} // namespace portal
