#include "platform/linux/SystemFile.h"

#include "platform/RealPath.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace platform {
namespace {

constexpr qsizetype kLargestFile = 16777216; // 16 MiB

std::optional<QByteArray> readToEnd(int descriptor) {
    QByteArray contents;
    std::array<char, 16384> chunk; // NOLINT: filled by read
    while (contents.size() <= kLargestFile) {
        const ssize_t count = ::read(descriptor, chunk.data(), chunk.size());
        if (count == 0) {
            return contents;
        }
        if (count > 0) {
            contents.append(chunk.data(), count);
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<QByteArray> readFileAt(const QString& path) {
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return std::nullopt;
    }
    auto contents = readToEnd(descriptor);
    ::close(descriptor);
    return contents;
}

std::optional<QByteArray> readSystemFile(const QString& plain) {
    return readFileAt(realPath(plain));
}

} // namespace platform
