#include "ui/Layer.h"

#include "ui/View.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

QColor paintColor(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

Color withAlpha(const Color& color, double alpha) {
    return {color.red, color.green, color.blue, alpha};
}

QString Layer::colorText() const {
    return backgroundColor ? paintColor(*backgroundColor).name().toUpper() : QString();
}

Layer Layer::withColor(const QString& color) const {
    Layer changed = *this;
    changed.backgroundColor = Color::colorWithHex(color);
    return changed;
}

Layer Layer::withRadius(double radius) const {
    Layer changed = *this;
    changed.cornerRadius = radius;
    return changed;
}

QPainterPath Layer::outline(const QRectF& bounds) const {
    const double radius = std::min({cornerRadius, bounds.width() / 2.0, bounds.height() / 2.0});
    QPainterPath path;
    if (radius > 0.0) {
        path.addRoundedRect(bounds, radius, radius);
    } else {
        path.addRect(bounds);
    }
    return path;
}

namespace {

// What the rounded views around `widget` leave of its outline. Most widgets lie clear of every corner and keep theirs.
QPainterPath cutToSurroundings(QPainterPath path, const QWidget& widget) {
    for (const QWidget* outer = widget.parentWidget(); outer != nullptr; outer = outer->parentWidget()) {
        const auto* view = qobject_cast<const View*>(outer);
        if (view == nullptr || view->layer().cornerRadius <= 0.0) {
            continue;
        }
        const QPointF origin = widget.mapTo(outer, QPointF());
        const QPainterPath shape = view->layer().outline(QRectF(view->rect())).translated(-origin);
        if (shape.contains(path.boundingRect())) {
            continue;
        }
        path = shape.boundingRect() == path.boundingRect() ? shape : shape.intersected(path);
    }
    return path;
}

} // namespace

void Layer::paint(QPainter& painter, const QWidget& widget) const {
    const QRectF bounds(widget.rect());
    painter.setRenderHint(QPainter::Antialiasing);
    if (backgroundColor) {
        painter.fillPath(cutToSurroundings(outline(bounds), widget), paintColor(*backgroundColor));
    }
    if (borderColor && borderWidth > 0.0) {
        const double half = borderWidth / 2.0;
        painter.setPen(QPen(paintColor(*borderColor), borderWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(outline(bounds.adjusted(half, half, -half, -half)));
    }
}
