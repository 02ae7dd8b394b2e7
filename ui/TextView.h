#pragma once

#include "ui/StyledText.h"

#include <QRectF>
#include <QTextLayout>

#include <optional>
#include <vector>

class QPainter;

// A half-open range of UTF-16 units.
struct TextRange {
    qsizetype location = 0;
    qsizetype length = 0;

    bool contains(qsizetype index) const { return index >= location && index < location + length; }
    bool operator==(const TextRange&) const = default;
};

// Styled text laid out in a rectangle: lines broken at words, centred ones where they become about
// equally long, the writing direction taken from the text itself. It is
// never on the screen; text fields measure, paint and find characters with it. Coordinates are those of the field, y
// down.
//
// Main thread. Lays out once, when it is made.
class TextView {
public:
    // A run without a font or colour shows the default font in black.
    TextView(const StyledText& text, const QRectF& frame, Qt::Alignment alignment);

    const QRectF& frame() const { return frame_; }
    // Of the lines together; 0 for an empty text.
    double height() const { return height_; }
    // Of the longest line.
    double width() const;
    int lineCount() const { return layout_.lineCount(); }

    // One rectangle for each stretch of a line that the range occupies, top to bottom.
    std::vector<QRectF> rectsForRange(const TextRange& range) const;
    // The character whose glyph covers the point; absent beside the text and between two lines.
    std::optional<qsizetype> characterIndexAt(const QPointF& point) const;
    void draw(QPainter& painter) const;

private:
    // Lines of this width, in the middle of a wider one.
    void layOut(double width, double within);
    // Makes the lines as even as their number allows.
    void balance();

    QRectF frame_;
    QTextLayout layout_;
    double height_ = 0.0;
};
