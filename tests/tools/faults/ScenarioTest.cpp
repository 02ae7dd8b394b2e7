#include "tools/faults/Scenario.h"

#include <gtest/gtest.h>

#include <set>

namespace faults {

namespace {

Answers good() {
    Answers answers;
    answers.configuration = loopback::replyWith(R"({"analyticsUrl": "http://127.0.0.1/a",
        "userAction": [{"action": "install", "isActive": "1"}],
        "software": [{"IsActive": "1", "macUrl": "http://127.0.0.1/i.dmg", "appName": "Kit", "commandLineArgs": "-q"}]})",
                                                "application/json");
    answers.image = loopback::replyWith(std::string(5000, 'i'), "application/x-apple-diskimage");
    answers.analytics = loopback::replyWith("thank you", "text/plain");
    return answers;
}

const Context kContext{"http://127.0.0.1:1", "http://127.0.0.1:2", "http://[::1]:3", "http://localhost:3", {}};

// Everything of an answer that a client could tell.
std::string shown(const loopback::Reply& reply) {
    return loopback::headOf(reply) + reply.body + reply.raw.value_or("") +
           std::to_string(reply.cutAfter.value_or(UINT64_MAX)) + std::to_string(reply.pause.count()) +
           std::to_string(reply.delay.count()) + std::to_string(reply.bytesPerSecond) +
           std::to_string(static_cast<int>(reply.ending));
}

std::string shown(const Answers& answers) {
    return shown(answers.configuration) + shown(answers.image) + shown(answers.analytics) +
           std::to_string(static_cast<int>(answers.tls)) + answers.places[0] + answers.places[1] + answers.places[2];
}

TEST(Scenarios, AreAtLeastSixtyWithNamesOfTheirOwn) {
    std::set<std::string_view> names;
    for (const Scenario* const scenario : scenarios()) {
        EXPECT_TRUE(names.insert(scenario->name).second) << scenario->name;
        EXPECT_FALSE(scenario->meaning.empty()) << scenario->name;
    }
    EXPECT_GE(names.size(), 60U);
}

TEST(Scenarios, EachChangeWhatIsAnswered) {
    for (const Scenario* const scenario : scenarios()) {
        Answers answers = good();
        apply({scenario, std::string(scenario->value)}, answers, kContext);
        EXPECT_NE(shown(answers), shown(good())) << scenario->name;
    }
}

TEST(Scenarios, OfEachAnswerSpoilTheOneThatIsNamedAndNoOther) {
    for (const Scenario* const scenario : scenarios()) {
        if (scenario->spoil == nullptr) {
            continue;
        }
        Answers answers = good();
        apply({scenario, std::string(scenario->value), Target::kImage}, answers, kContext);
        EXPECT_EQ(shown(answers.configuration), shown(good().configuration)) << scenario->name;
        EXPECT_EQ(shown(answers.analytics), shown(good().analytics)) << scenario->name;
        EXPECT_NE(shown(answers), shown(good())) << scenario->name;
    }
}

TEST(Scenarios, AreFoundByName) {
    EXPECT_EQ(scenarioCalled("reset-in-body")->value, "");
    EXPECT_EQ(scenarioCalled("slow-analytics")->value, "5");
    EXPECT_EQ(scenarioCalled("slow-analitycs"), nullptr);
}

} // namespace

} // namespace faults
