#include "ui/Button.h"

#include "ui/TextView.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {

constexpr int kSideInset = 24;
constexpr int kTopInset = 6;
constexpr double kUnbounded = 1.0e6;

// A grey over whatever the layer is: lighter on black, darker on white.
const QColor kHoverTint(0x80, 0x80, 0x80, 0x26);
const QColor kPressedTint(0x80, 0x80, 0x80, 0x4d);

TextView titleView(const StyledText& title, double width) {
    return TextView(title, QRectF(0.0, 0.0, width, 0.0), Qt::AlignHCenter);
}

} // namespace

Button::Button(QWidget* parent) : QPushButton(parent) {
    setFocusPolicy(Qt::TabFocus);
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
    const TextView view = titleView(attributedTitle_, kUnbounded);
    return {static_cast<int>(std::ceil(view.width())) + 2 * kSideInset,
            static_cast<int>(std::ceil(view.height())) + 2 * kTopInset};
}

QSize Button::minimumSizeHint() const {
    return sizeHint();
}

void Button::sizeToFit() {
    resize(sizeHint());
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
    const double height = titleView(attributedTitle_, width()).height();
    const QRectF frame(0.0, (this->height() - height) / 2.0, width(), height);
    TextView(attributedTitle_, frame, Qt::AlignHCenter).draw(painter);
}
