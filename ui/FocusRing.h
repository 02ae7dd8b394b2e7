#pragma once

#include <QPointer>
#include <QWidget>

// The ring around the control that has the keyboard. One lies over each window and follows the focus; it never takes
// the mouse, and is seen only while its window has the keyboard.
//
// Main thread.
class FocusRing : public QWidget {
    Q_OBJECT

public:
    static constexpr double kLinkRadius = 4.0;

    explicit FocusRing(QWidget* window);

    // For a control that marks a part of itself: a ring along the inner side of `rect`.
    static void paintInside(QPainter& painter, const QRectF& rect, double radius);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow(QWidget* now);
    void place();

    QPointer<QWidget> target_;
};
