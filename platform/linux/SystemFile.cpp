#include "platform/linux/SystemFile.h"

#include "base/Files.h"
#include "platform/RealPath.h"

#include <QFile>

namespace platform {

std::optional<QByteArray> readFileAt(const QString& path) {
    const auto contents = base::readSmallFile(QFile::encodeName(path).toStdString());
    return contents ? std::optional(QByteArray::fromStdString(*contents)) : std::nullopt;
}

std::optional<QByteArray> readSystemFile(const QString& plain) {
    return readFileAt(realPath(plain));
}

} // namespace platform
