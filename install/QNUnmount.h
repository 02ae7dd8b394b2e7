#pragma once

#include <QString>

#include <optional>

// Finds the mounted installer volume and detaches it with the bundle's script. Any thread; never raises.
class QNUnmount {
public:
    // The path of the last mounted volume whose path holds "<name> Installer <version> <environment>".
    static std::optional<QString> getDisk();
    // Starts the script and does not wait for it. Does nothing when no such volume is mounted.
    static void unmountDMG();
};
