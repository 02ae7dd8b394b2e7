#include "install/InstallerOutput.h"

#include "platform/base/NumberText.h"
#include "platform/base/PlatformException.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace InstallerOutput {

std::optional<std::pair<double, double>> progressOf(const QString& chunk) {
    const QString prefix = u"PROGRESS: "_s;
    const qsizetype found = chunk.indexOf(prefix);
    if (found < 0) {
        return std::nullopt;
    }
    const qsizetype first = found + prefix.size();
    const qsizetype slash = chunk.indexOf(u'/');
    if (slash < first) {
        // macOS's "not found" is the largest index; a length below zero wraps around.
        const quint64 end = slash < 0 ? quint64{std::numeric_limits<qint64>::max()} : static_cast<quint64>(slash);
        throw PlatformException::range(
            u"*** -[__NSCFString substringWithRange:]: Range {%1, %2} out of bounds; string length %3"_s.arg(first)
                .arg(end - static_cast<quint64>(first))
                .arg(chunk.size()));
    }
    return std::pair(NumberText::doubleValue(chunk.mid(first, slash - first)),
                     NumberText::doubleValue(chunk.mid(slash + 1)));
}

} // namespace InstallerOutput
