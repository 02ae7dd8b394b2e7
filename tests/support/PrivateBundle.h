#pragma once

#include <optional>

// Runs the test program's one case in a new private bundle (see TestEnvironment.h).
//
// In the outer process: makes the folder, starts this same program from inside the bundle, waits for it, deletes the
// folder and returns its status. In the inner process, and when cases are only listed: absent, go on.
std::optional<int> runInPrivateBundle(int argc, char** argv);

// Runs the cases and ends as the program does: without destroying what a request's thread may still be using. Leaks are
// looked for all the same where that is built in.
[[noreturn]] void runCasesAndEnd();
