#include "ui/FocusRing.h"

#include "ui/Button.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// A blue that stands out from white (5.2:1) and from black (4.0:1).
const QColor kRingColor(0x25, 0x63, 0xeb);
constexpr double kWidth = 2.0;
constexpr int kGap = 2; // between the control and its ring

} // namespace

FocusRing::FocusRing(QWidget* window) : QWidget(window) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    setObjectName(u"focusRing"_s);
    hide();
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
}

void FocusRing::paintInside(QPainter& painter, const QRectF& rect, double radius) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(kRingColor, kWidth));
    painter.setBrush(Qt::NoBrush);
    const double half = kWidth / 2.0;
    painter.drawRoundedRect(rect.adjusted(half, half, -half, -half), radius, radius);
}

void FocusRing::follow(QWidget* now) {
    if (target_) {
        target_->removeEventFilter(this);
    }
    // Links mark themselves.
    target_ = now != nullptr && now->window() == parentWidget() ? qobject_cast<Button*>(now) : nullptr;
    if (target_) {
        target_->installEventFilter(this);
    }
    place();
}

void FocusRing::place() {
    const bool shown = target_ && target_->isVisible();
    if (shown) {
        const int reach = kGap + static_cast<int>(kWidth);
        const QRect target(target_->mapTo(parentWidget(), QPoint()), target_->size());
        setGeometry(target.adjusted(-reach, -reach, reach, reach));
        raise();
    }
    setHidden(!shown);
}

bool FocusRing::eventFilter(QObject*, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type == QEvent::Move || type == QEvent::Resize || type == QEvent::Show || type == QEvent::Hide) {
        place();
    }
    return false;
}

void FocusRing::paintEvent(QPaintEvent*) {
    const auto* button = qobject_cast<const Button*>(target_.data());
    if (button == nullptr) {
        return;
    }
    QPainter painter(this);
    const double own = std::min({button->layer().cornerRadius, button->width() / 2.0, button->height() / 2.0});
    paintInside(painter, QRectF(rect()), own > 0.0 ? own + kGap : kLinkRadius);
}
