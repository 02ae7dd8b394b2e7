#pragma once

#include "platform/base/Color.h"
#include "ui/Fonts.h"
#include "ui/StyledText.h"
#include "ui/TextView.h"

#include <QWidget>

// Shows text, plain in the field's own font and colour or styled in that of its runs, over as many lines as its width
// asks for, from the top. What does not fit becomes smaller, and in the end shows as an ellipsis with the whole text
// as its tooltip; assistive technology always has the whole. Cannot be edited. A press on it drags the window.
//
// Main thread.
class TextField : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString text READ string WRITE setString)
    Q_PROPERTY(Qt::Alignment alignment READ alignment WRITE setAlignment)
    Q_PROPERTY(bool prefersOneLine READ prefersOneLine WRITE setPrefersOneLine)

public:
    explicit TextField(QWidget* parent = nullptr);

    const StyledText& text() const { return text_; }
    // Plain text shows in the field's font and colour. In styled text a run without them shows the default font in
    // black, but when the first character has no font, the field's own is laid over the whole.
    void setText(const StyledText& text);
    QString string() const { return text_.string(); }
    void setString(const QString& text) { setText(text); }

    const FontChoice& textFont() const { return font_; }
    void setTextFont(const FontChoice& font);
    const Color& textColor() const { return textColor_; }
    // Absent leaves the colour as it is.
    void setTextColor(const std::optional<Color>& color);
    const Color& backgroundColor() const { return background_; }
    void setBackgroundColor(const Color& color);
    bool drawsBackground() const { return drawsBackground_; }
    void setDrawsBackground(bool draws);
    // For text whose first run names none.
    Qt::Alignment alignment() const { return alignment_; }
    void setAlignment(Qt::Alignment alignment);

    // A text that is too long for one line becomes smaller before it takes a second.
    bool prefersOneLine() const { return tooLong_ == TextView::TooLong::kBecomesSmaller; }
    void setPrefersOneLine(bool prefers);

    bool isEditable() const { return editable_; }
    void setEditable(bool editable) { editable_ = editable; }
    bool isSelectable() const { return selectable_; }
    void setSelectable(bool selectable) { selectable_ = selectable; }

    // Where the text lies within these bounds.
    virtual QRectF titleRectForBounds(const QRectF& bounds) const;
    // The text as it is painted, with the field's own font and colour where they apply.
    StyledText shownText() const;
    // Lays the text out the way the field shows it.
    TextView textView() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    // At most the field's maximum height, and then the text has become smaller.
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    // Called when text, font or size may have moved the glyphs.
    virtual void textLayoutChanged() {}
    void resizeEvent(QResizeEvent* event) override;

private:
    void changed();

    StyledText text_;
    FontChoice font_ = defaultFont();
    Color textColor_;
    Color background_{1.0, 1.0, 1.0, 1.0};
    bool drawsBackground_ = false;
    bool editable_ = false;
    bool selectable_ = false;
    Qt::Alignment alignment_ = Qt::AlignLeft;
    TextView::TooLong tooLong_ = TextView::TooLong::kTakesMoreLines;
};
