#include "tools/faults/Scenario.h"

#include <algorithm>

namespace faults {

loopback::Reply& Answers::of(Target target) {
    switch (target) {
    case Target::kConfiguration:
        return configuration;
    case Target::kImage:
        return image;
    case Target::kAnalytics:
        break;
    }
    return analytics;
}

void apply(const ChosenFault& fault, Answers& answers, Context context) {
    context.value = fault.value;
    if (fault.scenario->spoil == nullptr) {
        fault.scenario->apply(answers, context);
        return;
    }
    for (const Target target : {Target::kConfiguration, Target::kImage, Target::kAnalytics}) {
        if (fault.target.value_or(target) == target) {
            fault.scenario->spoil(answers, target, context);
        }
    }
}

std::vector<const Scenario*> scenarios() {
    std::vector<const Scenario*> all;
    for (const auto& area : {configurationFaults(), imageFaults(), analyticsFaults(), tlsFaults(), connectionFaults(),
                             framingFaults(), headFaults(), bodyFaults(), redirectFaults(), placeFaults()}) {
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
