#include "sysinfo/ProbeOutput.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

using Expression = QRegularExpression;

// Qt's dot stops at LF only; the line ends are all of these.
constexpr const char* kRestOfLine = R"(([^\n\x0b\f\r\x{85}\x{2028}\x{2029}]*))";

std::optional<QString> labelledValue(const QString& text, const char* label) {
    const Expression expression(QLatin1Char('(') + QString::fromLatin1(label) + QLatin1Char(')') +
                                    QString::fromLatin1(kRestOfLine),
                                Expression::CaseInsensitiveOption);
    std::optional<QString> value;
    for (auto matches = expression.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        if (!value || value->isEmpty()) {
            value = match.captured(match.lastCapturedIndex());
        }
    }
    return value;
}

} // namespace

namespace ProbeOutput {

QString versionText(const std::array<int, 3>& version) {
    return u"%1.%2.%3"_s.arg(QString::number(version[0]), QString::number(version[1]), QString::number(version[2]));
}

QString sizeText(const QSizeF& size) {
    return u"%1x%2"_s.arg(QString::number(static_cast<int>(size.width())),
                          QString::number(static_cast<int>(size.height())));
}

std::optional<QString> processorName(const QString& profile) {
    const auto named = labelledValue(profile, "Processor Name: ");
    return named ? named : labelledValue(profile, "Chip: ");
}

std::optional<QString> firstHardwareAddress(const QString& interfaces) {
    static const Expression address(u"(?:[a-z0-9]{2}[:]){5}[a-z0-9]{2}"_s, Expression::CaseInsensitiveOption);
    static const Expression allZero(u"(?:[0]{2}[:]){5}[0]{2}"_s);
    for (auto matches = address.globalMatch(interfaces); matches.hasNext();) {
        const QString text = matches.next().captured();
        if (!allZero.match(text).hasMatch()) {
            return text;
        }
    }
    return std::nullopt;
}

} // namespace ProbeOutput
