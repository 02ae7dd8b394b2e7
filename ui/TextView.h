#pragma once

#include "ui/StyledText.h"
#include "ui/TextRange.h"

#include <QRectF>
#include <QTextLayout>
#include <QTextOption>

#include <optional>
#include <vector>

class QPainter;

// Styled text laid out in a rectangle: lines broken at words, centred ones where they become about
// equally long, the writing direction taken from the text itself. It is
// never on the screen; text fields measure, paint and find characters with it. Coordinates are those of the field, y
// down.
//
// A text that is too long for the rectangle becomes smaller, in steps down to four fifths; where that is not enough,
// it ends in an ellipsis. So nothing is cut without a sign.
//
// Main thread. Lays out once, when it is made.
class TextView {
public:
    enum class TooLong {
        kTakesMoreLines, // first, and becomes smaller when the height does not suffice
        kBecomesSmaller, // first, and takes more lines when one does not suffice
    };

    // A run without a font or colour shows the default font in black. A frame without a height takes all lines, one
    // without a width has no lines.
    TextView(const StyledText& text, const QRectF& frame, Qt::Alignment alignment,
             TooLong tooLong = TooLong::kTakesMoreLines);

    const QRectF& frame() const { return frame_; }
    // Of the lines together; 0 for an empty text.
    double height() const { return height_; }
    // Of the longest line.
    double width() const;
    int lineCount() const { return layout_.lineCount(); }
    // An ellipsis stands for the end of the text.
    bool isElided() const { return elided_; }

    // One rectangle for each stretch of a line that the range occupies, top to bottom.
    std::vector<QRectF> rectsForRange(const TextRange& range) const;
    // What the glyphs of these cover, without the air around them.
    std::vector<QRectF> inkOfRange(const TextRange& range) const;
    // The character whose glyph covers the point; absent beside the text and between two lines.
    std::optional<qsizetype> characterIndexAt(const QPointF& point) const;
    void draw(QPainter& painter) const;

private:
    void setText(const StyledText& text, double scale, QTextOption::WrapMode wrapMode);
    // Lays the whole text out; false when it does not fit.
    bool fit(const StyledText& text, TooLong tooLong);
    bool overflows() const;
    void elide(const StyledText& text);
    // Lines of this width, in the middle of a wider one.
    void layOut(double width, double within);
    // Makes the lines as even as their number allows.
    void balance();

    QRectF frame_;
    Qt::Alignment alignment_;
    QTextLayout layout_;
    double height_ = 0.0;
    bool elided_ = false;
};
