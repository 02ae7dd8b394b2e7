#include "ui/View.h"

#include <QPainter>

View::View(QWidget* parent) : QWidget(parent) {}

void View::setLayer(const Layer& layer) {
    layer_ = layer;
    update();
}

void View::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    layer_.paint(painter, *this);
}
