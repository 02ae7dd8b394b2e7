#pragma once

#include "tools/faults/FaultyServer.h"
#include "tools/portal/Options.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace portal::serve {

struct ServeOptions {
    portal::Options portal; // what the program `portal` takes as well
    bool hasTls = false;
    std::optional<std::string> authorityFile;
    std::optional<std::string> collectFile;
    std::vector<faults::ChosenFault> faults;
    std::chrono::milliseconds latency{0};
    std::uint64_t bytesPerSecond = 0;
};

struct ListWanted {}; // of the faults

// The arguments after the verb. Pure.
std::variant<ServeOptions, HelpWanted, ListWanted, Refusal> parseServeOptions(std::span<const std::string> arguments);

std::string serveHelp();
// One line a fault: its name, what may follow =, and what it does.
std::string faultList();

} // namespace portal::serve
