#pragma once

#include "ui/Button.h"
#include "ui/TrackingArea.h"

// A button with the pointing hand over it. Main thread.
class QNHoverButton : public Button {
    Q_OBJECT

public:
    explicit QNHoverButton(QWidget* parent = nullptr);

    const std::optional<TrackingArea>& trackingArea() const { return trackingArea_; }
    // Replaces the area by one over the current bounds. Also called after each change of position or size.
    void updateTrackingAreas();

protected:
    void mouseEntered();
    void mouseExited();
    bool event(QEvent* event) override;

private:
    std::optional<TrackingArea> trackingArea_;
};
