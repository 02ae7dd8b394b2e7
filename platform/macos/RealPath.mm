#include "platform/RealPath.h"

using namespace Qt::StringLiterals;

namespace platform {

QString realPath(const QString& plain) {
    return plain;
}

std::optional<QString> volumesFolder() {
    return u"/Volumes"_s;
}

void addOwnToolsToPath() {
    // The system has the tools itself.
}

} // namespace platform
