#pragma once

#include "ui/HoverControl.h"
#include "ui/TextField.h"

#include <QByteArray>

#include <memory>

// A label that calls a method of another object when it is pressed, with the pointing hand over it. Takes no keyboard
// focus and selects no text. Main thread.
class QNClickableTextField : public HoverControl<TextField> {
    Q_OBJECT

public:
    using HoverControl::HoverControl;

    // `method` is the name of an invokable method of `target` without arguments; the target is kept alive. With either
    // one missing a press does nothing.
    void onClick(const QByteArray& method, std::shared_ptr<QObject> target);
    const QByteArray& clickHandler() const { return clickHandler_; }
    const std::shared_ptr<QObject>& clickTarget() const { return clickTarget_; }

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    QByteArray clickHandler_;
    std::shared_ptr<QObject> clickTarget_;
};
