#pragma once

#include "ui/TextField.h"
#include "ui/TextView.h"
#include "ui/TrackingArea.h"

#include <QString>

#include <optional>
#include <vector>

class QTimer;

// One line piece of a link.
struct HyperlinkInfo {
    TextRange range; // of the whole link
    QString url;
    QRectF rect;

    bool operator==(const HyperlinkInfo&) const = default;
};

// A text field whose runs with a link attribute can be clicked: the pointing hand shows over them, and a click opens
// the address in the user's default handler. By keyboard, Tab goes from link to link, and Return or Space opens.
//
// Main thread. Keeps no link between calls: records and layout are made from the current text each time.
class HyperlinkTextField : public TextField {
    Q_OBJECT

public:
    explicit HyperlinkTextField(QWidget* parent = nullptr);

    // Largest y that a click is taken at; a click further down counts as one at this height. 0.0: no limit.
    float maxPointY() const { return maxPointY_; }
    void setMaxPointY(float y) { maxPointY_ = y; }
    // Held for others; this class makes none.
    const std::optional<TrackingArea>& trackingArea() const { return trackingArea_; }
    void setTrackingArea(const std::optional<TrackingArea>& area) { trackingArea_ = area; }
    QTimer* timer() const { return timer_; }
    void setTimer(QTimer* timer) { timer_ = timer; }

    // In text order; absent, not empty, when the text has no link.
    std::optional<std::vector<HyperlinkInfo>> hyperlinkInfos() const;
    void resetCursorRects();
    void _resetHyperlinkCursorRects();
    const std::vector<QRectF>& cursorRects() const { return cursorRects_; }

    // The links as such, one entry for each however many lines it covers; `rect` surrounds its pieces.
    std::vector<HyperlinkInfo> links() const;
    void openLink(const QString& url) const;
    // The link that has the keyboard, as an index into links(); absent without the keyboard focus.
    std::optional<std::size_t> focusedLink() const;
    void focusLink(std::size_t index, Qt::FocusReason reason);
    // What the ring goes around, a rectangle for each line; empty without the keyboard focus.
    std::vector<QRectF> focusedLinkInk() const;

Q_SIGNALS:
    // The keyboard came to a link, or went to another, or the text under it changed.
    void focusedLinkMoved();

protected:
    void mouseUp(const QPointF& location) const;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void textLayoutChanged() override;

private:
    void _hyperlinkTextFieldInit();
    // The link that a click at this place opens.
    std::optional<QString> urlAt(const QPointF& location) const;

    float maxPointY_ = 0.0F;
    std::optional<TrackingArea> trackingArea_;
    QTimer* timer_ = nullptr;
    std::vector<QRectF> cursorRects_;
    std::size_t focusedLink_ = 0;
};
