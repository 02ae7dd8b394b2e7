#pragma once

#include "ui/TrackingArea.h"

#include <QEvent>
#include <QWidget>

#include <optional>

// A control of the class Base with the pointing hand over it. Main thread.
template <typename Base>
class HoverControl : public Base {
public:
    explicit HoverControl(QWidget* parent = nullptr) : Base(parent) {}

    const std::optional<TrackingArea>& trackingArea() const { return trackingArea_; }
    // Replaces the area by one over the current bounds. Also called after each change of position or size.
    void updateTrackingAreas() {
        constexpr unsigned kOptions = TrackingArea::kMouseEnteredAndExited | TrackingArea::kActiveAlways;
        trackingArea_ = TrackingArea{QRectF(this->rect()), kOptions, this};
    }

protected:
    void mouseEntered() { this->setCursor(Qt::PointingHandCursor); }
    // The arrow, not what was there before.
    void mouseExited() { this->setCursor(Qt::ArrowCursor); }

    bool event(QEvent* event) override {
        switch (event->type()) {
        case QEvent::Move:
        case QEvent::Resize:
        case QEvent::Show:
            updateTrackingAreas();
            break;
        case QEvent::Enter:
            mouseEntered();
            break;
        case QEvent::Leave:
            mouseExited();
            break;
        default:
            break;
        }
        return Base::event(event);
    }

private:
    std::optional<TrackingArea> trackingArea_;
};
