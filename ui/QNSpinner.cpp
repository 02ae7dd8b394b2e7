#include "ui/QNSpinner.h"

#include "config/QNConfigProvider.h"
#include "platform/base/Format.h"
#include "ui/ImageView.h"

#include <QPainter>
#include <QTimerEvent>

#include <cmath>
#include <numbers>

namespace {

constexpr int kFrameMilliseconds = 16;
using Seconds = std::chrono::duration<double>;

double throughSinglePrecision(double value) {
    // Volatile, because GCC 12 leaves both conversions out when it makes one instruction of two such values.
    const volatile float rounded = static_cast<float>(value);
    return static_cast<double>(rounded);
}

} // namespace

QNSpinner::QNSpinner(QWidget* parent) : View(parent) {
    setLayer(Layer());
}

QSize QNSpinner::sizeHint() const {
    return {static_cast<int>(kPictureSize), static_cast<int>(kPictureSize)};
}

void QNSpinner::drawRect() {
    // Asked for as macOS's drawing does; the answer does not matter.
    QNConfigProvider::getPortalType();
    spinner_ = new ImageView(this);
    spinner_->setImage(imageNamed(formatText("connecting_Spinner")));
    spinner_->resize(sizeHint());
    const QRectF frame(geometry());
    layerAnchorPoint_ = QPointF(0.5, 0.5);
    layerPosition_ = QPointF(throughSinglePrecision(frame.x() + frame.width() * 0.5),
                             throughSinglePrecision(frame.y() + frame.height() * 0.5));
    // The turned picture is painted here; the view is there, but must not paint itself upright over it.
    spinner_->setHidden(true);
    picture_ = QPixmap();
    drawnScale_ = devicePixelRatioF();
    startRefreshAnimation();
}

void QNSpinner::setNeedsDisplay() {
    QMetaObject::invokeMethod(this, &QNSpinner::drawRect, Qt::QueuedConnection);
}

void QNSpinner::startRefreshAnimation() {
    turnStart_ = nextTurn_.value_or(std::chrono::steady_clock::now());
    nextTurn_.reset();
    if (isVisible()) {
        frames_.start(kFrameMilliseconds, Qt::PreciseTimer, this);
    }
    update();
}

void QNSpinner::animationDidStop(bool) {
    startRefreshAnimation();
}

double QNSpinner::rotationAt(std::chrono::steady_clock::duration sinceStart) {
    return static_cast<double>(kTurn) * (Seconds(sinceStart) / Seconds(kDuration));
}

void QNSpinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() != frames_.timerId()) {
        return;
    }
    const auto turns = (std::chrono::steady_clock::now() - turnStart_) / kDuration;
    if (turns > 0) {
        // The next turn joins on without a gap.
        nextTurn_ = turnStart_ + turns * kDuration;
        animationDidStop(true);
    }
    update();
}

void QNSpinner::showEvent(QShowEvent*) {
    if (spinner_ == nullptr) {
        drawRect();
    } else if (interrupted_) {
        interrupted_ = false;
        animationDidStop(false);
    }
}

void QNSpinner::hideEvent(QHideEvent*) {
    frames_.stop();
    interrupted_ = true;
}

void QNSpinner::resizeEvent(QResizeEvent*) {
    if (spinner_ != nullptr) {
        drawRect();
    }
}

const QPixmap& QNSpinner::composedPicture(double scale) {
    if (!picture_.isNull() && picture_.devicePixelRatio() == scale) {
        return picture_;
    }
    picture_ = QPixmap((QSizeF(size()) * scale).toSize());
    picture_.setDevicePixelRatio(scale);
    picture_.fill(Qt::transparent);
    QPainter painter(&picture_);
    for (const ImageView* view : findChildren<ImageView*>(QString(), Qt::FindDirectChildrenOnly)) {
        painter.save();
        painter.translate(view->pos());
        view->paintPicture(painter, scale);
        painter.restore();
    }
    return picture_;
}

void QNSpinner::paintEvent(QPaintEvent* event) {
    View::paintEvent(event);
    const double scale = devicePixelRatioF();
    if (drawnScale_ != 0.0 && drawnScale_ != scale) {
        drawnScale_ = scale;
        setNeedsDisplay();
    }
    const QPointF centre = layerPosition_ - QPointF(pos());
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(centre);
    // The layer counts with y upwards, painting with y downwards.
    painter.rotate(-rotationAt(std::chrono::steady_clock::now() - turnStart_) * 180.0 / std::numbers::pi);
    painter.translate(-centre);
    // Between two scales the larger picture is resampled once, while it is turned, and not twice.
    painter.drawPixmap(QPointF(), composedPicture(std::ceil(scale)));
}
