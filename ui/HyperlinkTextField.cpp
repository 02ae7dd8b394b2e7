#include "ui/HyperlinkTextField.h"

#include "platform/Workspace.h"
#include "platform/base/Address.h"
#include "ui/Links.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QMouseEvent>

HyperlinkTextField::HyperlinkTextField(QWidget* parent) : TextField(parent) {
    _hyperlinkTextFieldInit();
    setMouseTracking(true);
}

void HyperlinkTextField::_hyperlinkTextFieldInit() {
    setEditable(false);
    setSelectable(false);
}

std::optional<std::vector<HyperlinkInfo>> HyperlinkTextField::hyperlinkInfos() const {
    const auto runs = linkRuns(text());
    if (runs.empty()) {
        return std::nullopt;
    }
    std::vector<HyperlinkInfo> infos;
    const TextView view = textView();
    for (const auto& [range, url] : runs) {
        for (const QRectF& rect : view.rectsForRange(range)) {
            infos.push_back({range, url, rect});
        }
    }
    if (infos.empty()) {
        return std::nullopt;
    }
    return infos;
}

void HyperlinkTextField::resetCursorRects() {
    cursorRects_.clear();
    _resetHyperlinkCursorRects();
}

void HyperlinkTextField::_resetHyperlinkCursorRects() {
    const auto infos = hyperlinkInfos();
    if (!infos) {
        return;
    }
    for (const HyperlinkInfo& info : *infos) {
        cursorRects_.push_back(info.rect);
    }
}

void HyperlinkTextField::textLayoutChanged() {
    resetCursorRects();
    const std::size_t count = linkRuns(text()).size();
    if (focusedLink_ >= count) {
        focusedLink_ = 0;
    }
    setFocusPolicy(count == 0 ? Qt::NoFocus : Qt::TabFocus);
    Q_EMIT focusedLinkMoved();
}

std::vector<HyperlinkInfo> HyperlinkTextField::links() const {
    std::vector<HyperlinkInfo> links;
    const TextView view = textView();
    for (const auto& [range, url] : linkRuns(text())) {
        QRectF around;
        for (const QRectF& rect : view.rectsForRange(range)) {
            around = around.united(rect);
        }
        links.push_back({range, url, around});
    }
    return links;
}

void HyperlinkTextField::openLink(const QString& url) const {
    platform::openAddress(Address::parse(url));
}

std::optional<QString> HyperlinkTextField::urlAt(const QPointF& location) const {
    QPointF point = location;
    const auto limit = static_cast<double>(maxPointY_);
    if (maxPointY_ != 0.0F && point.y() > limit) {
        point.setY(limit);
    }
    const std::optional<qsizetype> index = textView().characterIndexAt(point);
    if (!index) {
        return std::nullopt;
    }
    for (const HyperlinkInfo& info : hyperlinkInfos().value_or(std::vector<HyperlinkInfo>())) {
        if (info.range.contains(*index)) {
            return info.url;
        }
    }
    return std::nullopt;
}

void HyperlinkTextField::mouseUp(const QPointF& location) const {
    if (const std::optional<QString> url = urlAt(location)) {
        openLink(*url);
    }
}

void HyperlinkTextField::mousePressEvent(QMouseEvent* event) {
    // Beside its links it is a text like others.
    event->setAccepted(event->button() == Qt::LeftButton && urlAt(event->position()));
}

void HyperlinkTextField::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        mouseUp(event->position());
    }
}

void HyperlinkTextField::mouseMoveEvent(QMouseEvent* event) {
    for (const QRectF& rect : cursorRects_) {
        if (rect.contains(event->position())) {
            setCursor(Qt::PointingHandCursor);
            return;
        }
    }
    unsetCursor();
    event->ignore();
}

void HyperlinkTextField::leaveEvent(QEvent*) {
    unsetCursor();
}

std::optional<std::size_t> HyperlinkTextField::focusedLink() const {
    return hasFocus() ? std::optional(focusedLink_) : std::nullopt;
}

void HyperlinkTextField::focusLink(std::size_t index, Qt::FocusReason reason) {
    focusedLink_ = index;
    Q_EMIT focusedLinkMoved();
    if (!hasFocus()) {
        setFocus(reason); // which tells of the link by itself
        return;
    }
    QAccessibleEvent event(this, QAccessible::Focus);
    event.setChild(static_cast<int>(index));
    QAccessible::updateAccessibility(&event);
}

void HyperlinkTextField::focusInEvent(QFocusEvent* event) {
    const std::size_t count = linkRuns(text()).size();
    const bool fromBehind = event->reason() == Qt::BacktabFocusReason && count > 0;
    const bool fromBefore = event->reason() == Qt::TabFocusReason;
    focusedLink_ = fromBehind ? count - 1 : fromBefore ? 0 : focusedLink_;
    Q_EMIT focusedLinkMoved();
}

bool HyperlinkTextField::focusNextPrevChild(bool next) {
    const std::size_t count = linkRuns(text()).size();
    if (hasFocus() && isVisible() && next && focusedLink_ + 1 < count) {
        focusLink(focusedLink_ + 1, Qt::TabFocusReason);
        return true;
    }
    if (hasFocus() && isVisible() && !next && focusedLink_ > 0) {
        focusLink(focusedLink_ - 1, Qt::BacktabFocusReason);
        return true;
    }
    return TextField::focusNextPrevChild(next);
}

void HyperlinkTextField::keyPressEvent(QKeyEvent* event) {
    const bool opens = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    const auto runs = linkRuns(text());
    if (!opens || focusedLink_ >= runs.size()) {
        TextField::keyPressEvent(event);
        return;
    }
    if (!event->isAutoRepeat()) {
        openLink(runs[focusedLink_].second);
    }
}

std::vector<QRectF> HyperlinkTextField::focusedLinkInk() const {
    const auto runs = linkRuns(text());
    if (!hasFocus() || focusedLink_ >= runs.size()) {
        return {};
    }
    return textView().inkOfRange(withClosingPunctuation(string(), runs[focusedLink_].first));
}
