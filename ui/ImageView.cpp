#include "ui/ImageView.h"

#include <QPainter>

#include <algorithm>

ImageView::ImageView(QWidget* parent) : QWidget(parent) {}

void ImageView::setImage(const std::optional<Image>& image) {
    image_ = image;
    pictureScale_ = 0.0;
    updateGeometry();
    update();
}

QSize ImageView::sizeHint() const {
    if (wantedSize_.isValid()) {
        return wantedSize_;
    }
    return image_ ? image_->size().toSize() : QSize(0, 0);
}

void ImageView::paintPicture(QPainter& painter, double scale) const {
    if (!image_) {
        return;
    }
    if (pictureScale_ != scale) {
        picture_ = image_->pixmap(scale);
        pictureScale_ = scale;
    }
    const QSizeF natural = picture_.deviceIndependentSize();
    const QRectF bounds(rect());
    QSizeF shown = natural;
    if (natural.width() > bounds.width() || natural.height() > bounds.height()) {
        shown.scale(bounds.size(), Qt::KeepAspectRatio);
    }
    QRectF target({}, shown);
    target.moveCenter(bounds.center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(target, picture_, QRectF(picture_.rect()));
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintPicture(painter, devicePixelRatioF());
}
