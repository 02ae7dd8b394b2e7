#include "platform/linux/MachineFacts.h"

#include <QList>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

// Shell quoting as os-release(5) allows it: one pair of quotes, backslashes before special characters.
QString unquoted(QString value) {
    value = value.trimmed();
    const QChar first = value.isEmpty() ? QChar() : value[0];
    if (value.size() >= 2 && (first == u'"' || first == u'\'') && value.endsWith(first)) {
        value = value.mid(1, value.size() - 2);
    }
    QString plain;
    for (qsizetype at = 0; at < value.size(); ++at) {
        const bool isEscape = value[at] == u'\\' && at + 1 < value.size();
        plain += value[isEscape ? ++at : at];
    }
    return plain;
}

std::optional<int> leadingNumber(const QString& text) {
    qsizetype digits = 0;
    while (digits < text.size() && text[digits] >= u'0' && text[digits] <= u'9') {
        ++digits;
    }
    bool fits = false;
    const int number = text.left(digits).toInt(&fits);
    return fits ? std::optional(number) : std::nullopt;
}

bool isNumber(const QString& text) {
    bool whole = false;
    text.toInt(&whole);
    return whole;
}

} // namespace

std::optional<std::array<int, 3>> versionNumbers(const QString& text) {
    std::array<int, 3> numbers{};
    const QStringList parts = text.split(u'.');
    for (std::size_t index = 0; index < numbers.size() && qsizetype(index) < parts.size(); ++index) {
        const QString& part = parts[qsizetype(index)];
        const auto number = leadingNumber(part);
        if (!number) {
            return index == 0 ? std::nullopt : std::optional(numbers);
        }
        numbers[index] = *number;
        if (!isNumber(part)) {
            break;
        }
    }
    return numbers;
}

std::optional<QString> versionIdOf(const QByteArray& osRelease) {
    std::optional<QString> version;
    for (const QByteArray& line : osRelease.split('\n')) {
        const QByteArray name = "VERSION_ID=";
        if (line.startsWith(name)) {
            version = unquoted(QString::fromUtf8(line.mid(name.size())));
        }
    }
    return version && !version->isEmpty() ? version : std::nullopt;
}

std::optional<QString> architectureDescription(const QString& machine) {
    if (machine == u"x86_64"_s) {
        return u"Intel x86-64"_s;
    }
    if (machine == u"aarch64"_s || machine == u"arm64"_s) {
        return u"ARM64"_s;
    }
    return std::nullopt;
}

} // namespace platform
