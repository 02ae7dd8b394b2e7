#pragma once

#include "platform/base/Color.h"

#include <QPointer>
#include <QWidget>

#include <optional>
#include <vector>

class Outline;
class View;

// A top-level window around a content view, with macOS's vocabulary for its looks. The content view keeps the
// size that it has in the interface file, and is lower only on a screen that is too low for it.
//
// While a compositor runs, the shadow is painted in a margin around the content view. Without one, see-through parts
// come out solid black: then there is no margin and no shadow, the window is cut to the content view's rounded
// shape, and a line of one pixel sets it off. This is asked again whenever the compositor comes or goes.
//
// Main thread. Knows nothing of what it shows.
class Window : public QWidget {
    Q_OBJECT

public:
    // 0 is borderless: no title bar, no buttons. 1 is titled. Other bits are not used.
    enum StyleMask { kBorderless = 0, kTitled = 1 };
    // Above 0 the window floats over normal ones.
    static constexpr int kNormalLevel = 0;
    static constexpr int kFloatingLevel = 3;
    static constexpr int kLeastHeight = 400;

    explicit Window(QWidget* parent = nullptr);
    ~Window() override;

    View* contentView() const { return contentView_; }
    // Takes the view over; the window takes its size. For the loader of interface files.
    void setContentView(View* view);
    // Puts `view` into the content view, at its upper left corner and in its size.
    void addSubview(QWidget* view);

    void setStyleMask(int mask);
    int styleMask() const { return styleMask_; }
    // A press that no control took drags the window.
    void setMovableByWindowBackground(bool movable) { movable_ = movable; }
    bool isMovableByWindowBackground() const { return movable_; }
    void setBackgroundColor(const Color& color);
    const Color& backgroundColor() const { return background_; }
    void setOpaque(bool opaque);
    bool isOpaque() const { return opaque_; }
    void setHasShadow(bool shadow);
    bool hasShadow() const { return shadow_; }
    // Of the content view's layer; what lies within is cut to it.
    void setCornerRadius(double radius);
    void setLevel(int level);
    int level() const { return level_; }

    // In the middle of the screen, a little above it from top to bottom. On a screen that is too low, the content view
    // becomes lower, down to kLeastHeight; on one that is still too small, the upper right corner is on it.
    void center();
    // In front of the windows of all programs, asking for the keyboard: the window is to be used without a mouse, too.
    void orderFrontRegardless();
    void makeKeyAndOrderFront();
    // Takes the window off the screen; the display has been told when this returns, whatever blocks afterwards.
    void orderOut();
    // Takes the window off the screen for good.
    void closeWindow();

    // Whether a shadow is painted now: wanted, and possible.
    bool showsShadow() const;

Q_SIGNALS:
    // The window manager asks the window to close. Nothing else happens: the window stays.
    void closeRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void compositorChanged();
    // Puts the content view and the margin around it where they belong; the content stays where it is on the screen.
    void arrange();
    void fitHeight();
    void applyShape();
    int shadowMargin() const;
    // Takes the shadow away where it would show through a body that is see-through.
    void cutShadow(QPainter& painter) const;
    // Without so many of its outermost pixels.
    std::vector<QRect> shapeInPixels(int without = 0) const;

    View* contentView_ = nullptr;
    Outline* outline_;
    int naturalHeight_ = 0; // of the content view
    int styleMask_ = kTitled;
    bool movable_ = false;
    Color background_{1.0, 1.0, 1.0, 1.0};
    bool opaque_ = true;
    bool shadow_ = false;
    int level_ = kNormalLevel;
    int margin_ = 0;                   // as the window is arranged now
    std::optional<QPoint> dragOffset_; // of the mouse, while the window is moved by hand
};
