#include "ui/Outline.h"

#include <QPainter>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// Three to one against white, and more against black.
const QColor kColor(0x94, 0x94, 0x94);

QRegion regionOf(const std::vector<QRect>& rows) {
    QRegion region;
    for (const QRect& row : rows) {
        region += row;
    }
    return region;
}

} // namespace

Outline::Outline(QWidget* window) : QWidget(window) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    setObjectName(u"outline"_s);
    hide();
}

void Outline::setShape(const std::vector<QRect>& outer, const std::vector<QRect>& inner) {
    pixels_ = regionOf(outer) - regionOf(inner);
    setGeometry(parentWidget()->rect());
    // What is painted in the middle is not to be painted twice.
    QRegion near;
    const double scale = devicePixelRatioF();
    for (const QRect& part : pixels_) {
        near += QRectF(QPointF(part.topLeft()) / scale, QSizeF(part.size()) / scale).toAlignedRect();
    }
    setMask(near);
    setHidden(pixels_.isEmpty());
    update();
}

void Outline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double scale = devicePixelRatioF();
    painter.scale(1.0 / scale, 1.0 / scale);
    for (const QRect& part : pixels_) {
        painter.fillRect(part, kColor);
    }
}
