#include "ui/TextView.h"

#include "ui/Layer.h"

#include <QPainter>
#include <QTextOption>

#include <algorithm>

namespace {

// Between two lines, as a part of the upper one's height: long texts read better with some air.
constexpr double kLeading = 0.18;

QTextCharFormat formatOf(const TextAttributes& attributes) {
    QTextCharFormat format;
    format.setFont(fontFor(attributes.font.value_or(defaultFont())));
    format.setForeground(paintColor(attributes.color.value_or(Color{})));
    if (attributes.underlineStyle.value_or(0) != 0) {
        format.setFontUnderline(true);
        if (attributes.underlineColor) {
            format.setUnderlineColor(paintColor(*attributes.underlineColor));
        }
    }
    return format;
}

Qt::Alignment paragraphAlignment(const StyledText& text, Qt::Alignment otherwise) {
    return text.isEmpty() ? otherwise : text.attributesAt(0).alignment.value_or(otherwise);
}

// Grows the last rectangle when the next one touches it.
void appendOrJoin(std::vector<QRectF>& rects, const QRectF& rect) {
    constexpr double kTouching = 0.05;
    if (!rects.empty()) {
        QRectF& last = rects.back();
        const bool sameLine = last.top() == rect.top();
        const bool meets = rect.left() <= last.right() + kTouching && rect.right() >= last.left() - kTouching;
        if (sameLine && meets) {
            last = last.united(rect);
            return;
        }
    }
    rects.push_back(rect);
}

} // namespace

TextView::TextView(const StyledText& text, const QRectF& frame, Qt::Alignment alignment) : frame_(frame) {
    QString string = text.string();
    string.replace(QLatin1Char('\n'), QChar::LineSeparator);
    layout_.setText(string);
    QList<QTextLayout::FormatRange> formats;
    int start = 0;
    for (const StyledText::Run& run : text.runs()) {
        formats.append({start, static_cast<int>(run.text.size()), formatOf(run.attributes)});
        start += static_cast<int>(run.text.size());
    }
    if (!formats.isEmpty()) {
        layout_.setFont(formats.first().format.font());
    }
    layout_.setFormats(formats);
    QTextOption option(paragraphAlignment(text, alignment));
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    layout_.setTextOption(option);
    layOut(frame.width(), frame.width());
    if (layout_.lineCount() > 1 && option.alignment() == Qt::AlignHCenter) {
        balance();
    }
}

void TextView::balance() {
    const int lines = layout_.lineCount();
    double tooNarrow = 0.0;
    double enough = frame_.width();
    while (enough - tooNarrow > 1.0) {
        const double width = (tooNarrow + enough) / 2.0;
        layOut(width, frame_.width());
        (layout_.lineCount() > lines ? tooNarrow : enough) = width;
    }
    layOut(enough, frame_.width());
}

void TextView::layOut(double width, double within) {
    if (layout_.text().isEmpty()) {
        return;
    }
    height_ = 0.0;
    layout_.beginLayout();
    double y = 0.0;
    for (QTextLine line = layout_.createLine(); line.isValid(); line = layout_.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF((within - width) / 2.0, y));
        height_ = y + line.height();
        y = height_ + line.height() * kLeading;
    }
    layout_.endLayout();
}

double TextView::width() const {
    double width = 0.0;
    for (int index = 0; index < layout_.lineCount(); ++index) {
        width = std::max(width, layout_.lineAt(index).naturalTextWidth());
    }
    return width;
}

std::vector<QRectF> TextView::rectsForRange(const TextRange& range) const {
    std::vector<QRectF> rects;
    for (int index = 0; index < layout_.lineCount(); ++index) {
        const QTextLine line = layout_.lineAt(index);
        const qsizetype first = std::max<qsizetype>(range.location, line.textStart());
        const qsizetype end = std::min<qsizetype>(range.location + range.length, line.textStart() + line.textLength());
        const QRectF shown = line.naturalTextRect();
        for (qsizetype position = first; position < end; ++position) {
            const auto character = static_cast<int>(position);
            const double leading = line.cursorToX(character, QTextLine::Leading);
            const double trailing = line.cursorToX(character, QTextLine::Trailing);
            const QRectF cell(std::min(leading, trailing), line.y(), std::abs(trailing - leading), line.height());
            // A blank that hangs over the end of its line is not to be seen.
            const QRectF visible = cell.intersected(QRectF(shown.left(), line.y(), shown.width(), line.height()));
            if (visible.width() > 0.0) {
                appendOrJoin(rects, visible.translated(frame_.topLeft()));
            }
        }
    }
    return rects;
}

std::optional<qsizetype> TextView::characterIndexAt(const QPointF& point) const {
    const QPointF inside = point - frame_.topLeft();
    for (int index = 0; index < layout_.lineCount(); ++index) {
        const QTextLine line = layout_.lineAt(index);
        if (inside.y() < line.y() || inside.y() >= line.y() + line.height()) {
            continue;
        }
        const QRectF shown = line.naturalTextRect();
        if (inside.x() < shown.left() || inside.x() >= shown.right()) {
            return std::nullopt;
        }
        // Between two writing directions Qt may answer with the place behind the last character.
        const int found = line.xToCursor(inside.x(), QTextLine::CursorOnCharacter);
        return found < line.textStart() + line.textLength() ? std::optional<qsizetype>(found) : std::nullopt;
    }
    return std::nullopt;
}

void TextView::draw(QPainter& painter) const {
    layout_.draw(&painter, frame_.topLeft());
}
