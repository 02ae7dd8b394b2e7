#pragma once

#include <QPainterPath>
#include <QPointer>
#include <QWidget>

// The ring around the button or link that has the keyboard. One lies over each window and follows the focus; it never
// takes the mouse, and is seen only while its window has the keyboard.
//
// Main thread.
class FocusRing : public QWidget {
    Q_OBJECT

public:
    explicit FocusRing(QWidget* window);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow(QWidget* now);
    void place();
    // The middle of the ring's line, in the window's coordinates; empty where there is nothing to mark.
    QPainterPath path() const;

    QPointer<QWidget> target_;
    QPainterPath path_;
};
