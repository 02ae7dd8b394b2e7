#include "platform/AddressEvents.h"

#include <QString>

// What the desktop starts for an address of the scheme: hands it on and ends.
int main(int argc, char** argv) {
    platform::forwardAddressToRunningCopy(QString::fromLocal8Bit(argc > 1 ? argv[1] : ""));
    return 0;
}
