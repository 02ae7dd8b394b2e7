#pragma once

#include "platform/base/Color.h"
#include "ui/Fonts.h"

#include <QString>

#include <optional>
#include <vector>

// What a run of text may carry. An absent attribute leaves the choice to whoever shows the text: macOS's default
// font and black.
struct TextAttributes {
    std::optional<Color> color;
    std::optional<FontChoice> font;
    std::optional<QString> link; // the text of an address
    std::optional<Color> underlineColor;
    std::optional<int> underlineStyle; // 0: none
    std::optional<Qt::Alignment> alignment;
    std::optional<Qt::CursorShape> cursor;

    // Each attribute that `later` has replaces the one here.
    void overwriteWith(const TextAttributes& later);
    bool operator==(const TextAttributes&) const = default;
};

// Text in runs of equal attributes. Positions count UTF-16 units; ranges are half open. A plain text is one run without
// attributes.
//
// A value; any thread.
class StyledText {
public:
    struct Run {
        QString text;
        TextAttributes attributes;
        bool operator==(const Run&) const = default;
    };

    StyledText() = default;
    StyledText(const QString& text); // implicit: plain text goes wherever styled text does
    StyledText(const QString& text, const TextAttributes& attributes);

    // Text whose whole length links to `address`, with the pointing hand over it. No colour, font or underline.
    static StyledText hyperlinkFromString(const QString& text, const QString& address);

    QString string() const;
    qsizetype length() const;
    bool isEmpty() const { return runs_.empty(); }
    const std::vector<Run>& runs() const { return runs_; }
    // Throws a range exception for an index outside the text.
    const TextAttributes& attributesAt(qsizetype index) const;

    void append(const StyledText& text);
    // Lays the attributes over a range, replacing those of the same kind. Throws a range exception for a range that
    // does not lie within the text.
    void addAttributes(const TextAttributes& attributes, qsizetype location, qsizetype count);
    void addAttributes(const TextAttributes& attributes);

    bool operator==(const StyledText&) const = default;

private:
    std::vector<Run> runs_; // none is empty
};
