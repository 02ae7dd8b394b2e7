#pragma once

#include "tools/qn-portal/check/TransferCheck.h"

#include <QStringList>

#include <span>
#include <string>
#include <variant>

namespace portal::check {

struct CheckOptions {
    enum class Output { kPeople, kJson, kJUnit };

    QStringList targets;
    bool isOffline = false;
    bool isStrict = false;
    bool isLocal = false; // the portal is on this machine, on purpose
    Output output = Output::kPeople;
    QStringList locales; // that the configuration is asked for in; empty: those that matter
    Patience patience;
    QString program; // the qn-portal that shows a bundle's screens; empty: they are not looked at
};

struct Refusal {
    std::string reason;
};
struct HelpWanted {};
struct ListWanted {}; // of all checks

// The arguments after the verb. Pure.
std::variant<CheckOptions, HelpWanted, ListWanted, Refusal> parseCheckOptions(std::span<const std::string> arguments);

std::string checkHelp();

} // namespace portal::check
