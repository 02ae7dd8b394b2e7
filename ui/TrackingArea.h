#pragma once

#include <QRectF>

class QWidget;

// Where a view wants to know of the mouse.
struct TrackingArea {
    static constexpr unsigned kMouseEnteredAndExited = 0x01;
    static constexpr unsigned kActiveAlways = 0x80;

    QRectF rect;
    unsigned options = 0;
    const QWidget* owner = nullptr;

    bool operator==(const TrackingArea&) const = default;
};
