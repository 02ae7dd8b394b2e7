#include "tools/faults/Scenario.h"

#include <algorithm>

namespace faults {

std::vector<const Scenario*> scenarios() {
    std::vector<const Scenario*> all;
    for (const auto& area : {configurationFaults(), imageFaults(), analyticsFaults(), tlsFaults()}) {
        for (const Scenario& scenario : area) {
            all.push_back(&scenario);
        }
    }
    return all;
}

const Scenario* scenarioCalled(std::string_view name) {
    const auto all = scenarios();
    const auto found = std::ranges::find(all, name, [](const Scenario* scenario) { return scenario->name; });
    return found == all.end() ? nullptr : *found;
}

} // namespace faults
