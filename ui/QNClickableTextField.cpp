#include "ui/QNClickableTextField.h"

#include "ui/HoverCursor.h"

#include <QMouseEvent>

QNClickableTextField::QNClickableTextField(QWidget* parent) : TextField(parent) {}

void QNClickableTextField::onClick(const QByteArray& method, std::shared_ptr<QObject> target) {
    clickHandler_ = method;
    clickTarget_ = std::move(target);
}

void QNClickableTextField::mousePressEvent(QMouseEvent* event) {
    event->accept();
    if (event->button() == Qt::LeftButton && !clickHandler_.isEmpty() && clickTarget_) {
        QMetaObject::invokeMethod(clickTarget_.get(), clickHandler_.constData(), Qt::DirectConnection);
    }
}

bool QNClickableTextField::event(QEvent* event) {
    if (HoverCursor::changesBounds(*event)) {
        updateTrackingAreas();
    }
    if (event->type() == QEvent::Enter) {
        mouseEntered();
    } else if (event->type() == QEvent::Leave) {
        mouseExited();
    }
    return TextField::event(event);
}

void QNClickableTextField::updateTrackingAreas() {
    trackingArea_ = HoverCursor::trackingAreaOver(*this);
}

void QNClickableTextField::mouseEntered() {
    HoverCursor::mouseEntered(*this);
}

void QNClickableTextField::mouseExited() {
    HoverCursor::mouseExited(*this);
}
