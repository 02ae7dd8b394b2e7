#include "tools/standins/Interfaces.h"
#include "tools/standins/SystemFiles.h"

#include <cstdio>
#include <cstring>

// Stands for macOS's ifconfig where the program asks for hardware addresses.
int main(int argc, char** argv) {
    if (argc != 2 || std::strcmp(argv[1], "-a") != 0) {
        std::fputs("ifconfig: this stand-in lists all interfaces; usage: ifconfig -a\n", stderr);
        return 1;
    }
    const std::string kFiles = "/sys/class/net";
    const auto folder = standins::systemPath(kFiles);
    const std::string text =
        standins::listing(folder == kFiles ? standins::interfacesOfThisMachine() : standins::readInterfaces(folder));
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}
