#include "ui/TextField.h"

#include "ui/FullText.h"
#include "ui/Layer.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kUnbounded = 1.0e6;

bool isPlain(const StyledText& text) {
    return std::all_of(text.runs().begin(), text.runs().end(),
                       [](const StyledText::Run& run) { return run.attributes == TextAttributes(); });
}

} // namespace

TextField::TextField(QWidget* parent) : QWidget(parent) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void TextField::setText(const StyledText& text) {
    text_ = text;
    setAccessibleName(text_.string());
    changed();
}

void TextField::setTextFont(const FontChoice& font) {
    font_ = font;
    changed();
}

void TextField::setTextColor(const std::optional<Color>& color) {
    if (color) {
        textColor_ = *color;
    }
    update();
}

void TextField::setBackgroundColor(const Color& color) {
    background_ = color;
    update();
}

void TextField::setDrawsBackground(bool draws) {
    drawsBackground_ = draws;
    update();
}

void TextField::setAlignment(Qt::Alignment alignment) {
    alignment_ = alignment;
    changed();
}

void TextField::setPrefersOneLine(bool prefers) {
    tooLong_ = prefers ? TextView::TooLong::kBecomesSmaller : TextView::TooLong::kTakesMoreLines;
    changed();
}

void TextField::changed() {
    updateGeometry();
    update();
    textLayoutChanged();
}

QRectF TextField::titleRectForBounds(const QRectF& bounds) const {
    return bounds;
}

StyledText TextField::shownText() const {
    StyledText shown = text_;
    if (shown.isEmpty()) {
        return shown;
    }
    TextAttributes own;
    if (isPlain(shown)) {
        own.color = textColor_;
    }
    if (!shown.attributesAt(0).font) {
        own.font = font_;
    }
    shown.addAttributes(own);
    return shown;
}

TextView TextField::textView() const {
    return TextView(shownText(), titleRectForBounds(QRectF(rect())), alignment_, tooLong_);
}

QSize TextField::sizeHint() const {
    const TextView view(shownText(), QRectF(0.0, 0.0, kUnbounded, 0.0), Qt::AlignLeft);
    return {static_cast<int>(std::ceil(view.width())), static_cast<int>(std::ceil(view.height()))};
}

QSize TextField::minimumSizeHint() const {
    return {0, 0};
}

int TextField::heightForWidth(int width) const {
    const int most = maximumHeight() == QWIDGETSIZE_MAX ? 0 : maximumHeight();
    const TextView view(shownText(), QRectF(0.0, 0.0, width, most), alignment_, tooLong_);
    return static_cast<int>(std::ceil(view.height()));
}

bool TextField::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        tellFullText(*static_cast<QHelpEvent*>(event), *this, textView(), string());
        return true;
    }
    return QWidget::event(event);
}

void TextField::mousePressEvent(QMouseEvent* event) {
    event->ignore(); // for the window, which is dragged by it
}

void TextField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (drawsBackground_) {
        painter.fillRect(rect(), paintColor(background_));
    }
    textView().draw(painter);
}

void TextField::resizeEvent(QResizeEvent*) {
    textLayoutChanged();
}
