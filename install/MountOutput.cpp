#include "install/MountOutput.h"

#include "platform/base/PathText.h"
#include "platform/base/PlatformException.h"

using namespace Qt::StringLiterals;

namespace MountOutput {

QString textBehindVolumes(const QString& output) {
    const QString prefix = u"/Volumes/"_s;
    const qsizetype found = output.indexOf(prefix);
    if (found < 0) {
        throw PlatformException::range(u"*** -[__NSCFString substringFromIndex:]: Index 9223372036854775807 out of "
                                       "bounds; string length %1"_s.arg(output.size()));
    }
    return PathText::trimmedOfWhitespace(output.mid(found + prefix.size()));
}

QString volumeName(const QString& textBehindVolumes) {
    return textBehindVolumes.section(u'\n', 0, 0);
}

std::optional<QString> onlyApplication(const QStringList& entries) {
    std::optional<QString> only;
    for (const QString& entry : entries) {
        if (!entry.endsWith(u".app"_s)) {
            continue;
        }
        if (only) {
            return std::nullopt;
        }
        only = entry;
    }
    return only;
}

} // namespace MountOutput
