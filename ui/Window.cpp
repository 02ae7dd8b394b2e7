#include "ui/Window.h"

#include "platform/WindowSystem.h"
#include "platform/base/FirstFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Outline.h"
#include "ui/Shadow.h"
#include "ui/View.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>

namespace {

// Of the free height, the part above a centred window.
constexpr double kAboveCentre = 0.42;

// For the display to show a frame that it was handed.
constexpr std::chrono::milliseconds kDisplayTime(5);

// Asked once, then told of each change: the question goes to the display and back.
bool& compositorRunning() {
    static bool running = platform::compositorIsRunning();
    return running;
}

void tellOfFirstFrame() {
    static std::once_flag telling;
    std::call_once(telling, [] { QTimer::singleShot(kDisplayTime, platform::firstFrameShown); });
}

// A rectangle whose pixels in the corners lie with their middles within the radius: the outermost rows one by one, and
// all between them in one.
std::vector<QRect> roundedRows(const QRect& frame, double radius) {
    std::vector<QRect> rows;
    const int rounded = static_cast<int>(std::ceil(radius));
    for (int row = 0; row < rounded; ++row) {
        const double above = std::max(0.0, radius - (row + 0.5));
        const int inset =
            std::max(0, static_cast<int>(std::ceil(radius - std::sqrt(radius * radius - above * above) - 0.5)));
        rows.emplace_back(frame.left() + inset, frame.top() + row, frame.width() - 2 * inset, 1);
        rows.emplace_back(frame.left() + inset, frame.bottom() - row, frame.width() - 2 * inset, 1);
    }
    rows.push_back(frame.adjusted(0, rounded, 0, -rounded));
    return rows;
}

} // namespace

Window::Window(QWidget* parent) : QWidget(parent, Qt::Window), outline_(new Outline(this)) {
    // The layout never mirrors, whatever the language.
    setLayoutDirection(Qt::LeftToRight);
    new FocusRing(this);
    // The window itself has the keyboard until Tab asks for a control: none is marked that nobody chose.
    setFocus();
    static std::once_flag watching;
    std::call_once(watching, [] {
        platform::watchCompositor([] {
            compositorRunning() = platform::compositorIsRunning();
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* window = qobject_cast<Window*>(widget)) {
                    window->compositorChanged();
                }
            }
        });
    });
}

Window::~Window() = default;

void Window::setContentView(View* view) {
    contentView_ = view;
    naturalHeight_ = view->height();
    view->setParent(this);
    outline_->raise();
    arrange();
}

void Window::addSubview(QWidget* view) {
    view->setParent(contentView_);
    view->move(0, 0);
    if (auto* const follower = qobject_cast<View*>(view); follower != nullptr && follower->followsHeight()) {
        follower->setHeight(follower->height() + contentView_->height() - naturalHeight_);
    }
    if (!view->testAttribute(Qt::WA_WState_ExplicitShowHide)) {
        view->show();
    }
}

void Window::setStyleMask(int mask) {
    styleMask_ = mask;
    setWindowFlag(Qt::FramelessWindowHint, mask == kBorderless);
}

void Window::setBackgroundColor(const Color& color) {
    background_ = color;
    update();
}

void Window::setOpaque(bool opaque) {
    opaque_ = opaque;
    setAttribute(Qt::WA_TranslucentBackground, !opaque);
    arrange();
}

void Window::setHasShadow(bool shadow) {
    shadow_ = shadow;
    setWindowFlag(Qt::NoDropShadowWindowHint, !shadow); // where the system draws it
    arrange();
}

void Window::setCornerRadius(double radius) {
    Layer layer = contentView_->layer();
    layer.cornerRadius = radius;
    contentView_->setLayer(layer);
    applyShape();
}

void Window::setLevel(int level) {
    level_ = level;
    setWindowFlag(Qt::WindowStaysOnTopHint, level >= kFloatingLevel);
}

bool Window::showsShadow() const {
    return shadow_ && !opaque_ && styleMask_ == kBorderless && compositorRunning() &&
           !platform::windowsHaveShadowsOfTheirOwn();
}

int Window::shadowMargin() const {
    return showsShadow() ? Shadow::kMargin : 0;
}

void Window::arrange() {
    if (contentView_ == nullptr) {
        return;
    }
    const int margin = shadowMargin();
    const QPoint content = pos() + QPoint(margin_, margin_);
    margin_ = margin;
    contentView_->move(margin, margin);
    setFixedSize(contentView_->size() + QSize(2 * margin, 2 * margin));
    move(content - QPoint(margin, margin));
    applyShape();
    update();
}

void Window::compositorChanged() {
    arrange();
}

std::vector<QRect> Window::shapeInPixels(int without) const {
    const double scale = devicePixelRatioF();
    const QRectF body(contentView_->geometry());
    const QRect whole((body.topLeft() * scale).toPoint(), (body.size() * scale).toSize());
    const QRect frame = whole.adjusted(without, without, -without, -without);
    const double radius = std::max(0.0, contentView_->layer().cornerRadius * scale - without);
    return roundedRows(frame, std::min({radius, frame.width() / 2.0, frame.height() / 2.0}));
}

void Window::applyShape() {
    if (contentView_ == nullptr || windowHandle() == nullptr) {
        return;
    }
    const bool cut = !opaque_ && styleMask_ == kBorderless && !compositorRunning();
    platform::setWindowShape(*windowHandle(), cut ? shapeInPixels() : std::vector<QRect>());
    outline_->setShape(cut ? shapeInPixels() : std::vector<QRect>(), cut ? shapeInPixels(1) : std::vector<QRect>());
    // Clicks on the shadow go to what lies below it.
    platform::setWindowInputShape(*windowHandle(), margin_ > 0 ? shapeInPixels() : std::vector<QRect>());
}

void Window::fitHeight() {
    if (contentView_ == nullptr) {
        return;
    }
    const int height =
        std::clamp(screen()->availableGeometry().height(), std::min(kLeastHeight, naturalHeight_), naturalHeight_);
    if (height != contentView_->height()) {
        contentView_->setHeight(height);
        arrange();
    }
}

void Window::center() {
    fitHeight();
    const QRect area = screen()->geometry();
    const QRect free = screen()->availableGeometry();
    const QSize content = contentView_ != nullptr ? contentView_->size() : size();
    const QPoint corner(area.x() + (area.width() - content.width()) / 2,
                        area.y() + static_cast<int>(std::lround((area.height() - content.height()) * kAboveCentre)));
    // On a screen that is too small the window's own control, in its upper right corner, is what has to be reached.
    const int left = std::min(corner.x(), free.right() + 1 - content.width());
    const int top = std::max(free.top(), std::min(corner.y(), free.bottom() + 1 - content.height()));
    move(QPoint(left, top) - QPoint(margin_, margin_));
}

void Window::orderFrontRegardless() {
    show();
    raise();
    activateWindow();
}

void Window::makeKeyAndOrderFront() {
    orderFrontRegardless();
}

void Window::orderOut() {
    hide();
    platform::flushDisplay();
}

void Window::closeWindow() {
    orderOut();
}

void Window::closeEvent(QCloseEvent* event) {
    event->ignore();
    Q_EMIT closeRequested();
}

void Window::mousePressEvent(QMouseEvent* event) {
    if (!movable_ || event->button() != Qt::LeftButton) {
        return;
    }
    // Where no window manager moves it, it is moved by hand.
    if (!windowHandle()->startSystemMove()) {
        dragOffset_ = event->globalPosition().toPoint() - pos();
    }
}

void Window::mouseMoveEvent(QMouseEvent* event) {
    if (dragOffset_) {
        move(event->globalPosition().toPoint() - *dragOffset_);
    }
}

void Window::mouseReleaseEvent(QMouseEvent*) {
    dragOffset_.reset();
}

void Window::showEvent(QShowEvent*) {
    applyShape();
}

void Window::cutShadow(QPainter& painter) const {
    const Layer& body = contentView_->layer();
    if (body.backgroundColor && body.backgroundColor->alpha >= 1.0) {
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillPath(body.outline(QRectF(contentView_->geometry())), Qt::black);
    painter.restore();
}

void Window::paintEvent(QPaintEvent* event) {
    waitForFonts();
    tellOfFirstFrame();
    QPainter painter(this);
    if (opaque_ || !compositorRunning()) {
        // Clear would come out black: white shows through wherever the content leaves a gap.
        const bool clear = background_.alpha < 1.0;
        painter.fillRect(rect(), clear ? QColor(Qt::white) : paintColor(background_));
        return;
    }
    const bool besideContent = contentView_ != nullptr && !contentView_->geometry().contains(event->rect());
    if (margin_ > 0 && besideContent) {
        Shadow::paint(painter, QRectF(contentView_->geometry()), contentView_->layer().cornerRadius);
        cutShadow(painter);
    }
    if (background_.alpha > 0.0) {
        painter.fillRect(rect(), paintColor(background_));
    }
}
