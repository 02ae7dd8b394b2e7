#include "ui/Button.h"

#include "ui/FullText.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {

constexpr int kSideInset = 24;
constexpr int kLeastInset = 16; // beside a title that is too long
constexpr int kTopInset = 6;
constexpr double kUnbounded = 1.0e6;

// A grey over whatever the layer is: lighter on black, darker on white.
const QColor kHoverTint(0x80, 0x80, 0x80, 0x26);
const QColor kPressedTint(0x80, 0x80, 0x80, 0x4d);

} // namespace

Button::Button(QWidget* parent) : QPushButton(parent) {
    setFocusPolicy(Qt::TabFocus);
    // Where two have no room beside each other, both give way.
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    // Return presses it, as in a dialog.
    setAutoDefault(true);
    setAttribute(Qt::WA_Hover); // painted anew when the mouse comes and goes
}

void Button::setTitle(const QString& title) {
    setAttributedTitle(title);
}

void Button::setAttributedTitle(const StyledText& title) {
    attributedTitle_ = title;
    setAccessibleName(title.string());
    updateGeometry();
    update();
}

void Button::setLayer(const Layer& layer) {
    layer_ = layer;
    update();
}

void Button::setImageName(const QString& name) {
    image_ = imageNamed(name);
    updateGeometry();
    update();
}

QSize Button::sizeHint() const {
    if (image_) {
        return image_->size().toSize();
    }
    const TextView view(attributedTitle_, QRectF(0.0, 0.0, kUnbounded, 0.0), Qt::AlignHCenter);
    return {static_cast<int>(std::ceil(view.width())) + 2 * kSideInset,
            static_cast<int>(std::ceil(view.height())) + 2 * kTopInset};
}

QSize Button::minimumSizeHint() const {
    return {image_ ? sizeHint().width() : 2 * kSideInset, sizeHint().height()};
}

void Button::sizeToFit() {
    resize(sizeHint());
}

TextView Button::shownTitle() const {
    return TextView(attributedTitle_, QRectF(rect()).adjusted(kLeastInset, kTopInset, -kLeastInset, -kTopInset),
                    Qt::AlignHCenter, TextView::TooLong::kBecomesSmaller);
}

bool Button::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && !image_) {
        tellFullText(*static_cast<QHelpEvent*>(event), *this, shownTitle(), title());
        return true;
    }
    return QPushButton::event(event);
}

void Button::keyPressEvent(QKeyEvent* event) {
    // Held, a key is one press.
    if (!event->isAutoRepeat()) {
        QPushButton::keyPressEvent(event);
    }
}

bool Button::focusNextPrevChild(bool next) {
    // A button that vanishes under the keyboard does not hand it to a neighbour: a second press of Return must not
    // reach one that was never chosen.
    if (!isVisible()) {
        clearFocus();
        return true;
    }
    return QPushButton::focusNextPrevChild(next);
}

void Button::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    layer_.paint(painter, *this);
    if (isDown() || underMouse()) {
        painter.fillPath(layer_.outline(QRectF(rect())), isDown() ? kPressedTint : kHoverTint);
    }
    if (image_) {
        const QPixmap picture = image_->pixmap(devicePixelRatioF());
        QRectF target({}, image_->size());
        target.moveCenter(QRectF(rect()).center());
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(target, picture, QRectF(picture.rect()));
        return;
    }
    painter.translate(0.0, (height() - shownTitle().height()) / 2.0 - kTopInset);
    shownTitle().draw(painter);
}
