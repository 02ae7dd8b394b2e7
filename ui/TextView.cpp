#include "ui/TextView.h"

#include "ui/Layer.h"
#include "ui/Links.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Between two lines, as a part of the upper one's height: long texts read better with some air.
constexpr double kLeading = 0.18;

// Of its size, what a text that is too long may become.
constexpr std::array kScales{1.0, 0.95, 0.9, 0.85, 0.8};

// Sizes are whole points: rounded up, none falls below its part.
QFont scaledFont(const TextAttributes& attributes, double scale) {
    FontChoice font = attributes.font.value_or(defaultFont());
    font.size = scale < 1.0 ? std::ceil(font.size * scale) : font.size;
    return fontFor(font);
}

QTextCharFormat formatOf(const TextAttributes& attributes, double scale) {
    QTextCharFormat format;
    format.setFont(scaledFont(attributes, scale));
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

// The first characters with an ellipsis in the looks of the last of them.
StyledText beginningOf(const StyledText& text, qsizetype length) {
    while (length > 0 && text.string().at(length - 1).isSpace()) {
        --length;
    }
    StyledText beginning;
    TextAttributes last = text.attributesAt(0);
    for (const StyledText::Run& run : text.runs()) {
        const qsizetype rest = length - beginning.length();
        if (rest > 0) {
            last = run.attributes;
            beginning.append(StyledText(run.text.left(rest), last));
        }
    }
    beginning.append(StyledText(QString(QChar(0x2026)), last));
    return beginning;
}

// The largest number of units up to this one that ends between two characters.
qsizetype wholeCharacters(const QString& string, qsizetype length) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, string);
    finder.setPosition(length);
    return finder.isAtBoundary() ? length : finder.toPreviousBoundary();
}

// From the last glyph's ink of what stands before `index` to the first one's of what stands at it or behind it.
struct Gap {
    double width = 0.0;
    qsizetype carrier = 0; // the character that grows with it: a blank where there is one
};

template <typename FontAt>
Gap gapAt(const QString& string, qsizetype index, const FontAt& fontAt) {
    const auto bearing = [&](qsizetype at, auto side) {
        return at >= 0 && at < string.size() ? (QFontMetricsF(fontAt(at)).*side)(string.at(at)) : 0.0;
    };
    const auto left = static_cast<qreal (QFontMetricsF::*)(QChar) const>(&QFontMetricsF::leftBearing);
    const auto right = static_cast<qreal (QFontMetricsF::*)(QChar) const>(&QFontMetricsF::rightBearing);
    const auto advance = static_cast<qreal (QFontMetricsF::*)(QChar) const>(&QFontMetricsF::horizontalAdvance);
    for (const qsizetype blank : {index - 1, index}) {
        if (string.at(blank).isSpace()) {
            return {bearing(blank - 1, right) + bearing(blank, advance) + bearing(blank + 1, left), blank};
        }
    }
    return {bearing(index - 1, right) + bearing(index, left), index - 1};
}

// The ring around a link that has the keyboard is to run over no letter beside it.
void appendRoomAroundLinks(QList<QTextLayout::FormatRange>& formats, const StyledText& text, double scale) {
    const QString string = text.string();
    const auto fontAt = [&](qsizetype index) { return scaledFont(text.attributesAt(index), scale); };
    for (const auto& [range, url] : linkRuns(text)) {
        const TextRange ringed = withClosingPunctuation(string, range);
        for (const qsizetype edge : {ringed.location, ringed.location + ringed.length}) {
            if (edge == 0 || edge == string.size()) {
                continue;
            }
            const Gap gap = gapAt(string, edge, fontAt);
            if (gap.width < kRoomBesideLink) {
                QTextCharFormat wider;
                wider.setFontLetterSpacingType(QFont::AbsoluteSpacing);
                wider.setFontLetterSpacing(kRoomBesideLink - gap.width);
                formats.append({static_cast<int>(gap.carrier), 1, wider});
            }
        }
    }
}

// By the outlines: the glyphs' own rectangles are those of their pixels and some air.
QRectF inkOf(const QGlyphRun& run) {
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    QRectF ink;
    for (qsizetype index = 0; index < glyphs.size(); ++index) {
        ink = ink.united(run.rawFont().pathForGlyph(glyphs.at(index)).boundingRect().translated(positions.at(index)));
    }
    return ink;
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

TextView::TextView(const StyledText& text, const QRectF& frame, Qt::Alignment alignment, TooLong tooLong)
    : frame_(frame), alignment_(paragraphAlignment(text, alignment)) {
    if (!fit(text, tooLong)) {
        elide(text);
    }
    if (layout_.lineCount() > 1 && alignment_ == Qt::AlignHCenter) {
        balance();
    }
}

bool TextView::fit(const StyledText& text, TooLong tooLong) {
    const auto fits = [&](double scale) {
        setText(text, scale, QTextOption::WordWrap);
        return !overflows();
    };
    const auto fitsOnALine = [&](double scale) { return fits(scale) && layout_.lineCount() <= 1; };
    if (tooLong == TooLong::kBecomesSmaller && std::any_of(kScales.begin(), kScales.end(), fitsOnALine)) {
        return true;
    }
    if (std::any_of(kScales.begin(), kScales.end(), fits)) {
        return true;
    }
    // A word that is longer than a line.
    setText(text, kScales.back(), QTextOption::WrapAtWordBoundaryOrAnywhere);
    return !overflows();
}

bool TextView::overflows() const {
    constexpr double kRounding = 0.01;
    return width() > frame_.width() + kRounding || (frame_.height() > 0.0 && height_ > frame_.height() + kRounding);
}

void TextView::elide(const StyledText& text) {
    elided_ = true;
    const QString string = text.string();
    const auto show = [&](qsizetype length) {
        setText(beginningOf(text, length), kScales.back(), QTextOption::WrapAtWordBoundaryOrAnywhere);
    };
    qsizetype fitting = 0;
    qsizetype tooLong = string.size();
    while (tooLong - fitting > 1) {
        const qsizetype length = (fitting + tooLong) / 2;
        show(length);
        (overflows() ? tooLong : fitting) = length;
    }
    show(wholeCharacters(string, fitting));
}

void TextView::setText(const StyledText& text, double scale, QTextOption::WrapMode wrapMode) {
    QString string = text.string();
    string.replace(QLatin1Char('\n'), QChar::LineSeparator);
    layout_.setText(string);
    QList<QTextLayout::FormatRange> formats;
    int start = 0;
    for (const StyledText::Run& run : text.runs()) {
        formats.append({start, static_cast<int>(run.text.size()), formatOf(run.attributes, scale)});
        start += static_cast<int>(run.text.size());
    }
    if (!formats.isEmpty()) {
        layout_.setFont(formats.first().format.font());
    }
    appendRoomAroundLinks(formats, text, scale);
    layout_.setFormats(formats);
    QTextOption option(alignment_);
    option.setWrapMode(wrapMode);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    layout_.setTextOption(option);
    layOut(frame_.width(), frame_.width());
}

void TextView::balance() {
    const int lines = layout_.lineCount();
    double tooNarrow = 0.0;
    double enough = frame_.width();
    while (enough - tooNarrow > 1.0) {
        const double tried = (tooNarrow + enough) / 2.0;
        layOut(tried, frame_.width());
        (layout_.lineCount() > lines || width() > tried ? tooNarrow : enough) = tried;
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

std::vector<QRectF> TextView::inkOfRange(const TextRange& range) const {
    std::vector<QRectF> pieces;
    for (int index = 0; index < layout_.lineCount(); ++index) {
        const QTextLine line = layout_.lineAt(index);
        const qsizetype first = std::max<qsizetype>(range.location, line.textStart());
        const qsizetype end = std::min<qsizetype>(range.location + range.length, line.textStart() + line.textLength());
        if (first >= end) {
            continue;
        }
        QRectF ink;
        for (const QGlyphRun& run : line.glyphRuns(static_cast<int>(first), static_cast<int>(end - first))) {
            ink = ink.united(inkOf(run));
        }
        if (!ink.isEmpty()) {
            pieces.push_back(ink.translated(frame_.topLeft()));
        }
    }
    return pieces;
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
