#include "config/QNConfig.h"
#include "logging/QNLogger.h"
#include "platform/Bundle.h"
#include "platform/base/NotificationCenter.h"
#include "ui/Announcement.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/QNAlertController.h"
#include "ui/QNErrorController.h"
#include "ui/QNErrorObject.h"
#include "ui/QNSpinner.h"
#include "ui/Screens.h"
#include "ui/Styling.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

void Screens::setupSpinner() {
    spinner_ = std::make_unique<QNSpinner>();
}

void Screens::setupLayer() {
    Layer layer = view_->layer();
    layer.backgroundColor = settingColor(u"BG_COLOR"_s);
    layer.borderWidth = 0.0;
    view_->setLayer(layer);
}

void Screens::setupConnectingLabel() {
    connectingLabel_->setText(platform::localizedString(u"MessageConnecting"_s));
    styleLabel(*connectingLabel_, hexColor("#1A1A1A"), {kCommonSans, 32.0});
    for (QNSpinner* const spinner : spinnerView_->findChildren<QNSpinner*>()) {
        spinner->setAccessibleName(connectingLabel_->string());
    }
}

void Screens::setupErrorPanel() {
    closeButton_->setHidden(false);
    errorView_->setHidden(true);
    spinnerView_->setHidden(false);
    progressStatus_->setHidden(true);
    errorController_ = std::make_unique<QNErrorController>(u"QNErrorController"_s);
    auto* const fill = new QVBoxLayout(errorView_);
    fill->setContentsMargins(0, 0, 0, 0);
    fill->addWidget(errorController_->view());
    // The keyboard reaches what the panel says first and the window's own control last.
    // A field without links takes no focus, and one that takes none cannot be given a place.
    errorController_->infoText()->setFocusPolicy(Qt::TabFocus);
    QWidget::setTabOrder(errorController_->infoText(), closeButton_);
    errorController_->infoText()->setFocusPolicy(Qt::NoFocus);
}

void Screens::hidePageView() {
    pageView_->setHidden(true);
}

void Screens::releaseKeyboard() {
    if (QWidget* const control = view_->window()->focusWidget()) {
        control->clearFocus();
    }
}

void Screens::showConnectingScreen() {
    installView_->setHidden(true);
    errorView_->setHidden(true);
    hidePageView();
    spinnerView_->setHidden(false);
    releaseKeyboard();
    announceScreen(*connectingLabel_, connectingLabel_->string());
}

void Screens::hideAlert(const Notification&) {
    if (!alert_) {
        return;
    }
    alert_->close();
    // One of its buttons may be what asked for this, and is still at work.
    closedAlert_ = std::move(alert_);
}

void Screens::showErrorPanel() {
    closeButton_->setHidden(false);
    installView_->setHidden(true);
    spinnerView_->setHidden(true);
    hidePageView();
    errorView_->setHidden(false);
    releaseKeyboard();
}

void Screens::showGenericDownloadScreen() {
    QNLogger::debug(u"Show generic download screen."_s, logContext("-[QNMainController showGenericDownloadScreen]"));
    showErrorPanel();
    showInfoAlertWithMessage(setupGenericDownloadUI(), platform::localizedString(u"MessageGetLatestVersion"_s),
                             imageNamed(u"dl"_s), Retry{false}, Close{true}, ContactSupport{true},
                             setupVisitOnlineSiteLabelUI(), platform::localizedString(u"MessageDownloadButtonText"_s),
                             config_ ? config_->actionUrl() : std::nullopt);
}

void Screens::showGenericError() {
    QNLogger::debug(u"Show generic error screen."_s, logContext("-[QNMainController showGenericError]"));
    showErrorPanel();
    showInfoAlertWithMessage(setupContactSupportLabelsUI(), platform::localizedString(u"MessageInstallationFailed"_s),
                             imageNamed(u"install_failed_block_img"_s), Retry{false}, Close{true}, ContactSupport{true},
                             setupVisitOnlineSiteLabelUI());
}

void Screens::showInfoAlertWithMessage(const StyledText& message, const QString& title,
                                       const std::optional<Image>& icon, const std::optional<StyledText>& subTitle) {
    showInfoAlertWithMessage(message, title, icon, Retry{false}, Close{false}, ContactSupport{false}, subTitle);
}

void Screens::showInfoAlertWithMessage(const StyledText& message, const QString& title,
                                       const std::optional<Image>& icon, Close close, ContactSupport contactSupport,
                                       const std::optional<StyledText>& subTitle) {
    closeWithoutCheck_ = true;
    showInfoAlertWithMessage(message, title, icon, Retry{false}, close, contactSupport, subTitle);
}

void Screens::showInfoAlertWithMessage(const StyledText& message, const QString& title,
                                       const std::optional<Image>& icon, Retry retry, ContactSupport contactSupport,
                                       const std::optional<StyledText>& subTitle) {
    showInfoAlertWithMessage(message, title, icon, retry, Close{false}, contactSupport, subTitle);
}

void Screens::showInfoAlertWithMessage(const StyledText& message, const QString& title,
                                       const std::optional<Image>& icon, Retry retry, Close close,
                                       ContactSupport contactSupport, const std::optional<StyledText>& subTitle) {
    showErrorPanel();
    showRecord(message, title, icon, retry, close, contactSupport, subTitle);
}

void Screens::showInfoAlertWithMessage(const StyledText& message, const QString& title,
                                       const std::optional<Image>& icon, Retry retry, Close close,
                                       ContactSupport contactSupport, const std::optional<StyledText>& subTitle,
                                       const QString& closeButtonLabel, const std::optional<QString>& closeButtonLink) {
    showErrorPanel();
    errorController_->setCloseButtonLabel(closeButtonLabel);
    errorController_->setCloseButtonLink(closeButtonLink);
    showRecord(message, title, icon, retry, close, contactSupport, subTitle);
}

void Screens::showRecord(const StyledText& message, const QString& title, const std::optional<Image>& icon, Retry retry,
                         Close close, ContactSupport contactSupport, const std::optional<StyledText>& subTitle) {
    QNErrorObject record;
    record.title = title;
    record.message = message;
    record.icon = icon;
    record.withRetry = retry.value ? 1 : 0;
    record.withClose = close.value ? 1 : 0;
    record.withContactSupport = contactSupport.value ? 1 : 0;
    record.info = subTitle;
    errorController_->setErrorObject(record);
    announceScreen(*errorController_->view(), title + u". "_s + message.string());
}
