#include "tools/qn-portal/check/Placeholder.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace portal::check {

std::optional<QString> placeholderIn(const QString& text) {
    static const QRegularExpression kPlaceholder(
        uR"(@[A-Z_]{2,}@|\$\{[^}]*\}|\$\([^)]*\)|\{\{[^}]*\}\}|%[sd](?![0-9A-Za-z])|\bTODO\b|\bFIXME\b|\bXXX+\b|)"
        uR"((?i:change[-_ ]?me|lorem ipsum|your[-_](?:host|domain|company|product)[a-z]*)|)"
        uR"((?i:(?<=[/.@])|^)(?i:example\.(?:com|org|net)|[a-z0-9-]+\.(?:example|invalid|test))(?=[/:?#]|$))"_s);
    const auto match = kPlaceholder.match(text);
    return match.hasMatch() ? std::optional(match.captured()) : std::nullopt;
}

} // namespace portal::check
