#include "ui/QNErrorController.h"

#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/InterfaceFile.h"
#include "ui/QNErrorObject.h"
#include "ui/Styling.h"
#include "ui/View.h"

#include <QApplication>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace {

constexpr double kButtonRadius = 25.0;

ButtonLook darkButton(const QString& titleKey) {
    return {titleKey, hexColor("#FFFFFF"), {kCommonSans, 14.0}, hexColor("#000000"), kButtonRadius};
}

} // namespace

QNErrorController::QNErrorController(const QString& interfaceName) {
    std::unique_ptr<QWidget> root = loadInterfaceFile(interfaceName);
    errorMessage_ = outlet<HyperlinkTextField>(*root, "errorMessage");
    infoText_ = outlet<HyperlinkTextField>(*root, "infoText");
    errorTitle_ = outlet<TextField>(*root, "errorTitle");
    errorIcon_ = outlet<ImageView>(*root, "errorIcon");
    retryButton_ = outlet<Button>(*root, "retryButton");
    closeButton_ = outlet<Button>(*root, "closeButton");
    contactSupportButton_ = outlet<Button>(*root, "contactSupportButton");
    view_ = outlet<View>(*root, "view");
    if (view_ != root.get()) {
        throwWrongClass(*root, View::staticMetaObject.className());
    }
    static_cast<void>(root.release());
    connectActions();
    awakeFromNib();
}

QNErrorController::~QNErrorController() {
    delete view_.data();
}

View* QNErrorController::view() const {
    return view_;
}

void QNErrorController::connectActions() {
    connect(retryButton_, &QAbstractButton::clicked, this, &QNErrorController::onRetryClick);
    connect(contactSupportButton_, &QAbstractButton::clicked, this, &QNErrorController::onContactSupportClick);
    connect(closeButton_, &QAbstractButton::clicked, this, &QNErrorController::onCLoseClick);
    connectKeys();
}

void QNErrorController::connectKeys() {
    auto* const escape = new QShortcut(QKeySequence(Qt::Key_Escape), view_.data());
    escape->setAutoRepeat(false);
    connect(escape, &QShortcut::activated, this, [this] {
        if (closeButton_->isVisible()) {
            closeButton_->click();
        }
    });
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* const first = new QShortcut(QKeySequence(key), view_.data());
        first->setAutoRepeat(false);
        connect(first, &QShortcut::activated, this, &QNErrorController::pressFirstButton);
        // A control that has the keyboard gets the key itself.
        connect(qApp, &QApplication::focusChanged, first, [first] {
            // A view that is being destroyed takes the keyboard from its controls, too, and is no view any more.
            const QWidget* const window = qobject_cast<QWidget*>(first->parent())->window();
            const QWidget* const focus = window->focusWidget();
            first->setEnabled(focus == nullptr || focus == window);
        });
    }
}

void QNErrorController::pressFirstButton() {
    if (std::chrono::steady_clock::now() - shownAt_ < settlingTime_) {
        return;
    }
    for (Button* const button : {retryButton_, closeButton_}) {
        if (button->isVisible()) {
            button->click();
            return;
        }
    }
}

void QNErrorController::awakeFromNib() {
    Layer layer = view_->layer();
    layer.backgroundColor = settingColor(u"BG_COLOR"_s);
    view_->setLayer(layer);
    setupTitle();
    setupMessage();
    setupSubTitle();
    setupContactSupport();
    setupCloseButton();
    setupRetryButton();
}

void QNErrorController::setupTitle() {
    styleLabel(*errorTitle_, hexColor("#1A1A1A"), {kCommonSansBold, 32.0});
}

void QNErrorController::setupMessage() {
    styleLabel(*errorMessage_, hexColor("#595959"), {kCommonSans, 16.0});
}

void QNErrorController::setupSubTitle() {
    styleLabel(*infoText_, hexColor("#595959"), {kCommonSans, 14.0});
}

void QNErrorController::setupContactSupport() {
    styleButton(*contactSupportButton_,
                {u"QNContactSupport"_s, hexColor("#FF0000"), {kCommonSans, 14.0}, hexColor("#FFF0F0"), kButtonRadius});
    retryButton_->setHidden(true);
    contactSupportButton_->setHidden(false);
    closeButton_->setHidden(false);
}

void QNErrorController::setupCloseButton() {
    styleButton(*closeButton_, darkButton(u"MessageClose"_s));
    retryButton_->setHidden(true);
    contactSupportButton_->setHidden(true);
    closeButton_->setHidden(false);
    customActionOnClose_ = 0;
}

void QNErrorController::setupRetryButton() {
    styleButton(*retryButton_, darkButton(u"MessageRetry"_s));
    retryButton_->setHidden(false);
    contactSupportButton_->setHidden(true);
}

void QNErrorController::setCloseButtonLabel(const QString&) {
    styleButton(*closeButton_, darkButton(u"MessageDownloadButtonText"_s));
    customActionOnClose_ = 1;
}

void QNErrorController::setCloseButtonLink(const std::optional<QString>& link) {
    customActionLink_ = link;
}

void QNErrorController::setErrorObject(const QNErrorObject& object) {
    errorIcon_->setImage(object.icon);
    view_->setAccessibleName(object.title.value_or(QString()));
    view_->setAccessibleDescription(object.message.value_or(StyledText()).string());
    errorTitle_->setText(object.title.value_or(QString()));
    errorMessage_->setText(object.message.value_or(StyledText()));
    infoText_->setText(object.info.value_or(StyledText()));
    retryButton_->setHidden(object.withRetry == 0);
    closeButton_->setHidden(object.withClose == 0);
    contactSupportButton_->setHidden(object.withContactSupport == 0);
    infoText_->setHidden(!object.info.has_value());
    shownAt_ = std::chrono::steady_clock::now();
}

void QNErrorController::onRetryClick() {
    NotificationCenter::defaultCenter().post(kStartInstallation);
}

void QNErrorController::onContactSupportClick() {
    NotificationCenter::defaultCenter().post(kShowContactSupportButton);
}

void QNErrorController::onCLoseClick() {
    if (customActionOnClose_ == 0) {
        NotificationCenter::defaultCenter().post(kQuitInstallation);
        return;
    }
    // Without a link the object is an empty dictionary: quitting goes on without opening anything.
    QVariantMap object;
    if (customActionLink_) {
        object.insert(u"link"_s, *customActionLink_);
    }
    NotificationCenter::defaultCenter().post(kQuitInstallation, object);
}
