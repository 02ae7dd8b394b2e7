#include "ui/FocusRing.h"

#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/Links.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// A blue that stands out from white (5.2:1) and from black (4.0:1).
const QColor kRingColor(0x25, 0x63, 0xeb);
constexpr double kGap = 2.0; // between a button and its ring
constexpr double kLinkRadius = 4.0;

} // namespace

FocusRing::FocusRing(QWidget* window) : QWidget(window) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    setObjectName(u"focusRing"_s);
    hide();
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
}

void FocusRing::follow(QWidget* now) {
    if (target_) {
        target_->removeEventFilter(this);
        target_->disconnect(this);
    }
    const bool rings = qobject_cast<Button*>(now) != nullptr || qobject_cast<HyperlinkTextField*>(now) != nullptr;
    target_ = rings && now->window() == parentWidget() ? now : nullptr;
    if (target_) {
        target_->installEventFilter(this);
    }
    if (auto* const field = qobject_cast<HyperlinkTextField*>(target_.data())) {
        connect(field, &HyperlinkTextField::focusedLinkMoved, this, &FocusRing::place);
    }
    place();
}

QPainterPath FocusRing::path() const {
    QPainterPath path;
    if (const auto* const button = qobject_cast<const Button*>(target_.data())) {
        const double own = std::min({button->layer().cornerRadius, button->width() / 2.0, button->height() / 2.0});
        const double radius = own > 0.0 ? own + kGap : kLinkRadius;
        const double reach = kGap + kRingWidth / 2.0;
        path.addRoundedRect(QRectF(button->rect()).adjusted(-reach, -reach, reach, reach), radius, radius);
    } else if (const auto* const field = qobject_cast<const HyperlinkTextField*>(target_.data())) {
        const double reach = kRingDistance + kRingWidth / 2.0;
        for (const QRectF& ink : field->focusedLinkInk()) {
            QPainterPath piece;
            piece.addRoundedRect(ink.adjusted(-reach, -reach, reach, reach), kLinkRadius, kLinkRadius);
            path = path.united(piece); // lines that lie close have one ring
        }
    }
    return path.translated(target_->mapTo(parentWidget(), QPointF()));
}

void FocusRing::place() {
    path_ = target_ && target_->isVisible() ? path() : QPainterPath();
    if (!path_.isEmpty()) {
        const double half = kRingWidth / 2.0;
        setGeometry(path_.boundingRect().adjusted(-half, -half, half, half).toAlignedRect());
        raise();
        update();
    }
    setHidden(path_.isEmpty());
}

bool FocusRing::eventFilter(QObject*, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type == QEvent::Move || type == QEvent::Resize || type == QEvent::Show || type == QEvent::Hide) {
        place();
    }
    return false;
}

void FocusRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(kRingColor, kRingWidth));
    painter.translate(-pos());
    painter.drawPath(path_);
}
