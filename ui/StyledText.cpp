#include "ui/StyledText.h"

#include "platform/base/PlatformException.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

template <typename Value>
void overwrite(std::optional<Value>& value, const std::optional<Value>& later) {
    if (later) {
        value = later;
    }
}

[[noreturn]] void throwRange(qsizetype location, qsizetype count, qsizetype length) {
    throw PlatformException::range(
        u"Range {%1, %2} out of bounds; string length %3"_s.arg(location).arg(count).arg(length));
}

} // namespace

void TextAttributes::overwriteWith(const TextAttributes& later) {
    overwrite(color, later.color);
    overwrite(font, later.font);
    overwrite(link, later.link);
    overwrite(underlineColor, later.underlineColor);
    overwrite(underlineStyle, later.underlineStyle);
    overwrite(alignment, later.alignment);
    overwrite(cursor, later.cursor);
}

StyledText::StyledText(const QString& text) : StyledText(text, {}) {}

StyledText::StyledText(const QString& text, const TextAttributes& attributes) {
    if (!text.isEmpty()) {
        runs_.push_back({text, attributes});
    }
}

StyledText StyledText::hyperlinkFromString(const QString& text, const QString& address) {
    TextAttributes attributes;
    attributes.link = address;
    attributes.cursor = Qt::PointingHandCursor;
    return StyledText(text, attributes);
}

QString StyledText::string() const {
    QString text;
    for (const Run& run : runs_) {
        text += run.text;
    }
    return text;
}

qsizetype StyledText::length() const {
    qsizetype length = 0;
    for (const Run& run : runs_) {
        length += run.text.size();
    }
    return length;
}

const TextAttributes& StyledText::attributesAt(qsizetype index) const {
    qsizetype start = 0;
    for (const Run& run : runs_) {
        if (index >= start && index < start + run.text.size()) {
            return run.attributes;
        }
        start += run.text.size();
    }
    throwRange(index, 1, start);
}

void StyledText::append(const StyledText& text) {
    runs_.insert(runs_.end(), text.runs_.begin(), text.runs_.end());
}

void StyledText::addAttributes(const TextAttributes& attributes, qsizetype location, qsizetype count) {
    if (location < 0 || count < 0 || location > length() || count > length() - location) {
        throwRange(location, count, length());
    }
    std::vector<Run> result;
    const auto keep = [&result](const QString& text, const TextAttributes& own) {
        if (!text.isEmpty()) {
            result.push_back({text, own});
        }
    };
    qsizetype start = 0;
    for (const Run& run : runs_) {
        const qsizetype size = run.text.size();
        const qsizetype from = std::clamp<qsizetype>(location - start, 0, size);
        const qsizetype to = std::clamp<qsizetype>(location + count - start, from, size);
        TextAttributes changed = run.attributes;
        changed.overwriteWith(attributes);
        keep(run.text.left(from), run.attributes);
        keep(run.text.mid(from, to - from), changed);
        keep(run.text.mid(to), run.attributes);
        start += size;
    }
    runs_ = std::move(result);
}

void StyledText::addAttributes(const TextAttributes& attributes) {
    addAttributes(attributes, 0, length());
}
