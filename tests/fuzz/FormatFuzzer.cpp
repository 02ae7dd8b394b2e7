#include "logging/LogLine.h"
#include "platform/base/Color.h"
#include "platform/base/Format.h"
#include "platform/base/PlatformException.h"
#include "tests/fuzz/FuzzInput.h"

#include <limits>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Templates, and log lines. The input is a template and a value, a zero byte between them.

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray rest = fuzz::bytesOf(data, size);
    const QByteArray format = QByteArray(fuzz::takePart(rest)).append('\0').chopped(1); // ends in a zero byte
    const QString value = QString::fromUtf8(rest);
    static_cast<void>(formatText(format.constData(), value, std::numeric_limits<qint64>::min(), 1e308,
                                 std::optional<QString>(), QVariantMap{{value, value}}));
    const QString once = formatText("%@", value);
    fuzz::require(once == value);
    const QString masked = LogLine::masked(QString::fromUtf8(format), value);
    fuzz::require(value.isEmpty() || !u"*"_s.contains(value) || masked == QString::fromUtf8(format) ||
                  masked.contains(u"****"_s));
    try {
        const LogLine::Entry entry = LogLine::entryOfEvent(u"EVT"_s, QString::fromUtf8(format));
        fuzz::require(LogLine::event(entry, LogContext{}).endsWith(u"\r\n"_s));
    } catch (const PlatformException&) {
        // a text that is no event
    }
    if (const auto color = Color::colorWithHex(value)) {
        fuzz::require(color->hexColor().size() == 7);
    }
    return 0;
}
