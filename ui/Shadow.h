#pragma once

#include <QRectF>

class QPainter;

// The soft shadow around a window. Main thread.
namespace Shadow {

// How far the shadow reaches from the body, to each side.
constexpr int kMargin = 36;

// Paints the shadow of a body with rounded corners; the body itself is to be painted over it.
void paint(QPainter& painter, const QRectF& body, double cornerRadius);

} // namespace Shadow
