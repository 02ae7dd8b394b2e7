#include "tools/standins/Processor.h"

#include <cstdio>
#include <cstring>

// Stands for macOS's system_profiler where the program asks for the processor's name.
int main(int argc, char** argv) {
    if (argc != 2 || std::strcmp(argv[1], "SPHardwareDataType") != 0) {
        std::fputs("system_profiler: this stand-in knows one report; usage: system_profiler SPHardwareDataType\n",
                   stderr);
        return 1;
    }
    const std::string text =
        "Hardware:\n\n    Hardware Overview:\n\n      Processor Name: " + standins::processorName() + "\n\n";
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}
