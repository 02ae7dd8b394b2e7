#include "platform/linux/MountTable.h"

#include <QFile>

namespace platform {
namespace {

bool isOctal(char digit) {
    return digit >= '0' && digit <= '7';
}

} // namespace

QByteArray withoutOctalEscapes(const QByteArray& text) {
    QByteArray plain;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool isEscape = text[at] == '\\' && at + 3 < text.size() && text[at + 1] <= '3' &&
                              isOctal(text[at + 1]) && isOctal(text[at + 2]) && isOctal(text[at + 3]);
        if (isEscape) {
            plain += static_cast<char>(text.mid(at + 1, 3).toInt(nullptr, 8));
            at += 3;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

QStringList mountPointsOf(const QByteArray& mountInfo) {
    constexpr qsizetype kMountPoint = 4; // behind the identifiers of mount and parent, the device, and the root
    QStringList points;
    for (const QByteArray& line : mountInfo.split('\n')) {
        const QByteArrayList fields = line.split(' ');
        if (fields.size() > kMountPoint + 1 && fields[kMountPoint].startsWith('/')) {
            points += QFile::decodeName(withoutOctalEscapes(fields[kMountPoint]));
        }
    }
    return points;
}

} // namespace platform
