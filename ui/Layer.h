#pragma once

#include "platform/base/Color.h"

#include <QColor>
#include <QRectF>
#include <QString>

#include <optional>

class QPainter;
class QPainterPath;
class QWidget;

// For painting only: loses precision.
QColor paintColor(const Color& color);
Color withAlpha(const Color& color, double alpha);

// The backing of a view: what is painted behind its content. An absent colour paints nothing.
//
// A value, main thread.
struct Layer {
    std::optional<Color> backgroundColor;
    std::optional<Color> borderColor;
    double borderWidth = 0.0;
    double cornerRadius = 0.0;

    // For properties of interface files: "#FFFFFF".
    QString colorText() const;
    Layer withColor(const QString& color) const;
    Layer withRadius(double radius) const;

    // Paints background and border for a view with these bounds. The radius never exceeds half the shorter side. A
    // background that reaches into the rounded corner of a view around `widget` is cut to it.
    void paint(QPainter& painter, const QWidget& widget) const;

    // The outline that the background fills.
    QPainterPath outline(const QRectF& bounds) const;
};
