#include "ui/QNAlertController.h"

#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "ui/Button.h"
#include "ui/InterfaceFile.h"
#include "ui/Styling.h"
#include "ui/TextField.h"
#include "ui/View.h"
#include "ui/Window.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double kWindowRadius = 4.0;
constexpr double kYesRadius = 25.0;

void setLayerColor(View& view, const Color& color) {
    Layer layer = view.layer();
    layer.backgroundColor = color;
    view.setLayer(layer);
}

} // namespace

QNAlertController::QNAlertController(const QString& interfaceName) {
    std::unique_ptr<QWidget> root = loadInterfaceFile(interfaceName);
    auto* const window = outlet<Window>(*root, "window");
    if (window != root.get()) {
        throwWrongClass(*root, Window::staticMetaObject.className());
    }
    auto* const contentView = outlet<View>(*root, "contentView");
    title_ = outlet<TextField>(*root, "title");
    header_ = outlet<View>(*root, "header");
    view_ = outlet<View>(*root, "view");
    yesButton_ = outlet<Button>(*root, "yesButton");
    noButton_ = outlet<Button>(*root, "noButton");
    message_ = outlet<TextField>(*root, "message");
    static_cast<void>(root.release());
    window_.reset(window);
    window_->setStyleMask(Window::kBorderless);
    window_->setContentView(contentView);
    connect(yesButton_, &QAbstractButton::clicked, this, &QNAlertController::onYesButtonClick);
    connect(noButton_, &QAbstractButton::clicked, this, &QNAlertController::onNoButtonClick);
    windowDidLoad();
}

QNAlertController::~QNAlertController() = default;

void QNAlertController::windowDidLoad() {
    window_->setMovableByWindowBackground(true);
    setupHeader();
    setupBody();
    setupYesButton();
    setupNoButton();
}

void QNAlertController::setupHeader() {
    setLayerColor(*header_, hexColor("#F4F0FA"));
    styleLabel(*title_, settingColor(u"PRIMARY_COLOR"_s), {kCommonSans, 24.0});
}

void QNAlertController::setupBody() {
    setLayerColor(*view_, hexColor("#FFFFFF"));
    styleLabel(*message_, settingColor(u"SECONDARY_COLOR"_s), {kCommonSansMedium, 16.0});
}

void QNAlertController::setupYesButton() {
    styleButton(*yesButton_,
                {u"QNYes"_s, hexColor("#FFFFFF"), {kCommonSansMedium, 18.0}, hexColor("#000000"), kYesRadius});
}

void QNAlertController::setupNoButton() {
    styleButton(*noButton_, {u"QNNo"_s, hexColor("#000000"), {kCommonSansMedium, 16.0}, hexColor("#FFFFFF"), 0.0});
    // White on white, it would look like a gap beside the other.
    Layer layer = noButton_->layer();
    layer.borderColor = hexColor("#000000");
    layer.borderWidth = 1.0;
    noButton_->setLayer(layer);
}

void QNAlertController::showWindow(QObject*, const QString& title, const QString& message,
                                   const QString& yesNotification, const QString& noNotification) {
    yesNotification_ = yesNotification;
    noNotification_ = noNotification;
    // The level and the looks decide what kind of window the display makes, so they come before it is brought up.
    window_->setLevel(Window::kFloatingLevel);
    window_->setMovableByWindowBackground(true);
    window_->setBackgroundColor(kClear);
    window_->setOpaque(false);
    window_->setHasShadow(true);
    window_->setWindowTitle(title);
    window_->center();
    window_->makeKeyAndOrderFront();
    window_->setCornerRadius(kWindowRadius);
    title_->setText(title);
    message_->setText(message);
}

void QNAlertController::close() {
    window_->closeWindow();
}

void QNAlertController::onYesButtonClick() {
    NotificationCenter::defaultCenter().post(yesNotification_, QVariantMap{{u"isUserAction"_s, true}});
}

void QNAlertController::onNoButtonClick() {
    NotificationCenter::defaultCenter().post(noNotification_);
}
