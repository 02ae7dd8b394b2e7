#pragma once

#include <QRegion>
#include <QWidget>

#include <vector>

// The line along a window's edge that sets a window off from what lies below it where no shadow does: a white one from
// a white one. Lies over the whole window and takes no mouse.
//
// Main thread.
class Outline : public QWidget {
    Q_OBJECT

public:
    explicit Outline(QWidget* window);

    // What lies between the two shapes, in the window's pixels; hidden when there is nothing.
    void setShape(const std::vector<QRect>& outer, const std::vector<QRect>& inner);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRegion pixels_;
};
