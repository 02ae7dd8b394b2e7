#include "ui/Shadow.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <array>
#include <map>
#include <vector>

namespace {

constexpr int kOffset = 8;    // the light comes from above
constexpr int kBoxRadius = 9; // of each of three passes, which together come close to a bell curve
constexpr int kPasses = 3;
constexpr int kOpacity = 90; // of 255
constexpr int kStretch = 1;  // pixels of the middle that are stretched

// One pass of a box filter along lines of `length` bytes, `step` apart.
void blurLine(uchar* line, int length, qsizetype step, std::vector<int>& source) {
    source.resize(static_cast<std::size_t>(length));
    for (int index = 0; index < length; ++index) {
        source[static_cast<std::size_t>(index)] = line[index * step];
    }
    const auto at = [&](int index) {
        return index < 0 || index >= length ? 0 : source[static_cast<std::size_t>(index)];
    };
    int sum = 0;
    for (int index = -kBoxRadius; index <= kBoxRadius; ++index) {
        sum += at(index);
    }
    for (int index = 0; index < length; ++index) {
        line[index * step] = static_cast<uchar>(sum / (2 * kBoxRadius + 1));
        sum += at(index + kBoxRadius + 1) - at(index - kBoxRadius);
    }
}

// From the picture's edge to where the middle begins that can be stretched.
int edgeFor(double cornerRadius) {
    return 2 * Shadow::kMargin + static_cast<int>(cornerRadius);
}

// A shadow whose middle row and column can be stretched to any size.
QImage makePicture(double cornerRadius) {
    const int size = 2 * edgeFor(cornerRadius) + kStretch;
    QImage alpha(size, size, QImage::Format_Alpha8);
    alpha.fill(0);
    QPainter painter(&alpha);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath body;
    body.addRoundedRect(
        QRectF(Shadow::kMargin, Shadow::kMargin, size - 2 * Shadow::kMargin, size - 2 * Shadow::kMargin), cornerRadius,
        cornerRadius);
    painter.fillPath(body, QColor(0, 0, 0, kOpacity));
    painter.end();
    std::vector<int> source;
    for (int pass = 0; pass < kPasses; ++pass) {
        for (int row = 0; row < size; ++row) {
            blurLine(alpha.scanLine(row), size, 1, source);
        }
        for (int column = 0; column < size; ++column) {
            blurLine(alpha.bits() + column, size, alpha.bytesPerLine(), source);
        }
    }
    QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::black);
    picture.setAlphaChannel(alpha);
    return picture;
}

// Windows repaint often, and few radii are in use.
const QImage& pictureFor(double cornerRadius) {
    static std::map<double, QImage> pictures;
    QImage& picture = pictures[cornerRadius];
    if (picture.isNull()) {
        picture = makePicture(cornerRadius);
    }
    return picture;
}

} // namespace

void Shadow::paint(QPainter& painter, const QRectF& body, double cornerRadius) {
    const int edge = edgeFor(cornerRadius);
    const QImage& picture = pictureFor(cornerRadius);
    const QRectF target = body.adjusted(-kMargin, -kMargin + kOffset, kMargin, kMargin + kOffset);
    const std::array<double, 4> xs{target.left(), target.left() + edge, target.right() - edge, target.right()};
    const std::array<double, 4> ys{target.top(), target.top() + edge, target.bottom() - edge, target.bottom()};
    const std::array<double, 4> source{0.0, static_cast<double>(edge), static_cast<double>(edge + kStretch),
                                       static_cast<double>(2 * edge + kStretch)};
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            painter.drawImage(
                QRectF(QPointF(xs.at(column), ys.at(row)), QPointF(xs.at(column + 1), ys.at(row + 1))), picture,
                QRectF(QPointF(source.at(column), source.at(row)), QPointF(source.at(column + 1), source.at(row + 1))));
        }
    }
    painter.restore();
}
