#pragma once

#include <optional>
#include <string>
#include <vector>

// Variables of the environment that this process sees otherwise than the programs that it starts.
namespace platform {

// Before any thread.
void setForThisProcessOnly(const char* name, const char* value);

// What this process was started with. Any thread.
std::optional<std::string> inheritedVariable(const char* name);

// The environment as this process was started with it, and as it has been changed for all since; ends with a null. Any
// thread; valid while nobody changes the environment.
std::vector<char*> environmentForPrograms();

} // namespace platform
