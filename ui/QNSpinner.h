#pragma once

#include "ui/View.h"

#include <QBasicTimer>
#include <QPixmap>
#include <QPointF>

#include <chrono>
#include <optional>

class ImageView;

// The turning picture of the connecting screen: clockwise, once a second, for as long as it is seen.
//
// The view turns as a whole, about the position of its layer. Each drawRect adds one more picture view and starts the
// turn anew. It is called when the view is first seen, when its size or the screen's scale changes and when the view is
// declared invalid, never while painting: a view that is added while painting paints again, for ever.
//
// Main thread.
class QNSpinner : public View {
    Q_OBJECT

public:
    static constexpr double kPictureSize = 36.0;
    // A full turn as a single-precision number; negative is clockwise where y points up.
    static constexpr float kTurn = -6.2831855F;
    static constexpr std::chrono::milliseconds kDuration{1000};

    explicit QNSpinner(QWidget* parent = nullptr);

    // The picture view that was added last; absent before the first drawing.
    ImageView* spinner() const { return spinner_; }

    void drawRect();
    // Has the view drawn again, soon.
    void setNeedsDisplay();
    void startRefreshAnimation();
    // The turn ended, or was interrupted; it starts again.
    void animationDidStop(bool finished);

    // What the layer turns about, in the coordinates of the view's parent, rounded through single precision.
    const QPointF& layerPosition() const { return layerPosition_; }
    const QPointF& layerAnchorPoint() const { return layerAnchorPoint_; }
    // The rotation at a time of the turn, in radians, as the layer counts them.
    static double rotationAt(std::chrono::steady_clock::duration sinceStart);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    const QPixmap& composedPicture(double scale);

    ImageView* spinner_ = nullptr;
    QPointF layerPosition_;
    QPointF layerAnchorPoint_{0.5, 0.5};
    QBasicTimer frames_;
    std::chrono::steady_clock::time_point turnStart_;
    std::optional<std::chrono::steady_clock::time_point> nextTurn_;
    bool interrupted_ = false;
    QPixmap picture_; // all picture views, unturned
    double drawnScale_ = 0.0;
};
