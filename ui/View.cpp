#include "ui/View.h"

#include <QApplication>
#include <QPainter>

View::View(QWidget* parent) : QWidget(parent) {}

void View::setLayer(const Layer& layer) {
    layer_ = layer;
    update();
}

void View::setHeight(int height) {
    const int growth = height - this->height();
    resize(width(), height);
    for (View* const inside : findChildren<View*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (inside->followsHeight()) {
            inside->setHeight(inside->height() + growth);
        }
    }
}

bool View::focusNextPrevChild(bool next) {
    if (isVisible()) {
        return QWidget::focusNextPrevChild(next);
    }
    if (QWidget* const inside = QApplication::focusWidget()) {
        inside->clearFocus();
    }
    return true;
}

void View::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    layer_.paint(painter, *this);
}
