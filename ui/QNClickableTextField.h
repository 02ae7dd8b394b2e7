#pragma once

#include "ui/TextField.h"
#include "ui/TrackingArea.h"

#include <QByteArray>

#include <memory>
#include <optional>

// A label that calls a method of another object when it is pressed, with the pointing hand over it. Takes no keyboard
// focus and selects no text. Main thread.
class QNClickableTextField : public TextField {
    Q_OBJECT

public:
    explicit QNClickableTextField(QWidget* parent = nullptr);

    // `method` is the name of an invokable method of `target` without arguments; the target is kept alive. With either
    // one missing a press does nothing.
    void onClick(const QByteArray& method, std::shared_ptr<QObject> target);
    const QByteArray& clickHandler() const { return clickHandler_; }
    const std::shared_ptr<QObject>& clickTarget() const { return clickTarget_; }

    const std::optional<TrackingArea>& trackingArea() const { return trackingArea_; }
    // Replaces the area by one over the current bounds. Also called after each change of position or size.
    void updateTrackingAreas();

protected:
    void mouseEntered();
    void mouseExited();
    void mousePressEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    std::optional<TrackingArea> trackingArea_;
    QByteArray clickHandler_;
    std::shared_ptr<QObject> clickTarget_;
};
