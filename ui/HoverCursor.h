#pragma once

#include "ui/TrackingArea.h"

#include <QEvent>
#include <QWidget>

// What the hover classes have in common: a tracking area over the whole of a view, and the two cursors.
namespace HoverCursor {

inline TrackingArea trackingAreaOver(const QWidget& view) {
    return {QRectF(view.rect()), TrackingArea::kMouseEnteredAndExited | TrackingArea::kActiveAlways, &view};
}

inline void mouseEntered(QWidget& view) {
    view.setCursor(Qt::PointingHandCursor);
}

// The arrow, not what was there before.
inline void mouseExited(QWidget& view) {
    view.setCursor(Qt::ArrowCursor);
}

inline bool changesBounds(const QEvent& event) {
    return event.type() == QEvent::Move || event.type() == QEvent::Resize || event.type() == QEvent::Show;
}

} // namespace HoverCursor
