#include "tools/qn-portal/Verbs.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int main(int argc, char** argv) try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return portal::runProgram(arguments);
} catch (const std::exception& error) {
    std::fprintf(stderr, "qn-portal: %s\n", error.what());
    return portal::kCannotDo;
}
