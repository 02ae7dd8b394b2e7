#pragma once

#include "ui/Layer.h"

#include <QWidget>

// A rectangle of the window that has a layer and holds other views. Main thread.
class View : public QWidget {
    Q_OBJECT

public:
    explicit View(QWidget* parent = nullptr);

    const Layer& layer() const { return layer_; }
    void setLayer(const Layer& layer);

protected:
    // Hidden with the keyboard inside, a view hands it to no neighbour.
    bool focusNextPrevChild(bool next) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Layer layer_;
};
