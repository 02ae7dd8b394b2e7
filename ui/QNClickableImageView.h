#pragma once

#include "ui/ImageView.h"
#include "ui/TrackingArea.h"

// An image with the pointing hand over it. Main thread.
class QNClickableImageView : public ImageView {
    Q_OBJECT

public:
    explicit QNClickableImageView(QWidget* parent = nullptr);

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
