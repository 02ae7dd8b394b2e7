#pragma once

#include "ui/QNHoverButton.h"

#include <optional>

// A hover button that is dimmed while it is held, and can grow to fit its title. Main thread.
class QNButton : public QNHoverButton {
    Q_OBJECT

public:
    // Single precision, as the dimmed look is required to be.
    static constexpr double kPressedAlpha = static_cast<double>(0.7F);

    explicit QNButton(QWidget* parent = nullptr);

    // Held for others.
    bool isInited() const { return isInited_; }
    void setIsInited(bool isInited) { isInited_ = isInited; }

    // Unless the button is wider than its title needs plus 30: makes it that wide, to both sides of its middle alike.
    void sizeToFitIfSmall();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    void dim();
    void restore();

    bool isInited_ = false;
    std::optional<Layer> undimmed_;
};
