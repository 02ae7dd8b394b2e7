#include "ui/QNButton.h"

#include <QMouseEvent>

#include <cmath>

namespace {

constexpr double kExtraWidth = 30.0;

std::optional<Color> dimmed(const std::optional<Color>& color) {
    return color ? std::optional(withAlpha(*color, QNButton::kPressedAlpha)) : std::nullopt;
}

} // namespace

QNButton::QNButton(QWidget* parent) : QNHoverButton(parent) {}

void QNButton::sizeToFitIfSmall() {
    const QRect frame = geometry();
    sizeToFit();
    const double target = width() + kExtraWidth;
    if (frame.width() > target) {
        resize(frame.size());
        return;
    }
    resize(static_cast<int>(target), frame.height());
    move(frame.x() + static_cast<int>(std::floor((target - frame.width()) * -0.5)), frame.y());
}

void QNButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        dim();
    }
    QNHoverButton::mousePressEvent(event);
}

void QNButton::mouseReleaseEvent(QMouseEvent* event) {
    // Before the click is told: what it sets off may block, or end the process.
    if (event->button() == Qt::LeftButton) {
        restore();
    }
    QNHoverButton::mouseReleaseEvent(event);
}

bool QNButton::event(QEvent* event) {
    if (event->type() == QEvent::UngrabMouse || event->type() == QEvent::Hide) {
        restore();
    }
    return QNHoverButton::event(event);
}

void QNButton::dim() {
    if (undimmed_) {
        return;
    }
    undimmed_ = layer();
    Layer pressed = layer();
    pressed.backgroundColor = dimmed(pressed.backgroundColor);
    pressed.borderColor = dimmed(pressed.borderColor);
    setLayer(pressed);
}

void QNButton::restore() {
    if (!undimmed_) {
        return;
    }
    Layer original = layer();
    original.backgroundColor = undimmed_->backgroundColor;
    original.borderColor = undimmed_->borderColor;
    undimmed_.reset();
    setLayer(original);
}
