#include "platform/linux/OwnEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <string_view>
#include <utility>

namespace platform {
namespace {

struct Change {
    std::string name;
    std::optional<std::string> inherited; // the value
    std::string inheritedEntry;           // "NAME=value"
};

std::list<Change>& changes() {
    static auto* const instance = new std::list<Change>; // threads start programs until the process has ended
    return *instance;
}

const Change* changeOf(std::string_view name) {
    const auto found =
        std::find_if(changes().begin(), changes().end(), [&](const Change& change) { return change.name == name; });
    return found == changes().end() ? nullptr : &*found;
}

std::optional<std::string> present(const char* name) {
    const char* const value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace

void setForThisProcessOnly(const char* name, const char* value) {
    if (!changeOf(name)) {
        const std::optional<std::string> inherited = present(name);
        changes().push_back({name, inherited, std::string(name) + '=' + inherited.value_or(std::string())});
    }
    ::setenv(name, value, 1);
}

std::optional<std::string> inheritedVariable(const char* name) {
    const Change* const change = changeOf(name);
    return change ? change->inherited : present(name);
}

std::vector<char*> environmentForPrograms() {
    std::vector<char*> variables;
    for (char** variable = environ; variable && *variable; ++variable) {
        const std::string_view entry(*variable);
        if (!changeOf(entry.substr(0, entry.find('=')))) {
            variables.push_back(*variable);
        }
    }
    for (Change& change : changes()) {
        if (change.inherited) {
            variables.push_back(change.inheritedEntry.data());
        }
    }
    variables.push_back(nullptr);
    return variables;
}

} // namespace platform
