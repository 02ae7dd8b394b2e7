#include "platform/RealPath.h"

namespace platform {

QString realPath(const QString& plain) {
    return plain;
}

std::optional<QString> volumesFolder() {
    return QStringLiteral("/Volumes");
}

void addOwnToolsToPath() {
    // The system has the tools itself.
}

} // namespace platform
