#include "ui/QNHoverButton.h"

#include "ui/HoverCursor.h"

QNHoverButton::QNHoverButton(QWidget* parent) : Button(parent) {}

bool QNHoverButton::event(QEvent* event) {
    if (HoverCursor::changesBounds(*event)) {
        updateTrackingAreas();
    }
    if (event->type() == QEvent::Enter) {
        mouseEntered();
    } else if (event->type() == QEvent::Leave) {
        mouseExited();
    }
    return Button::event(event);
}

void QNHoverButton::updateTrackingAreas() {
    trackingArea_ = HoverCursor::trackingAreaOver(*this);
}

void QNHoverButton::mouseEntered() {
    HoverCursor::mouseEntered(*this);
}

void QNHoverButton::mouseExited() {
    HoverCursor::mouseExited(*this);
}
