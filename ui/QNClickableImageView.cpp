#include "ui/QNClickableImageView.h"

#include "ui/HoverCursor.h"

QNClickableImageView::QNClickableImageView(QWidget* parent) : ImageView(parent) {}

bool QNClickableImageView::event(QEvent* event) {
    if (HoverCursor::changesBounds(*event)) {
        updateTrackingAreas();
    }
    if (event->type() == QEvent::Enter) {
        mouseEntered();
    } else if (event->type() == QEvent::Leave) {
        mouseExited();
    }
    return ImageView::event(event);
}

void QNClickableImageView::updateTrackingAreas() {
    trackingArea_ = HoverCursor::trackingAreaOver(*this);
}

void QNClickableImageView::mouseEntered() {
    HoverCursor::mouseEntered(*this);
}

void QNClickableImageView::mouseExited() {
    HoverCursor::mouseExited(*this);
}
