#include "platform/Bundle.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/InterfaceFile.h"
#include "ui/QNAlertController.h"
#include "ui/QNButton.h"
#include "ui/QNClickableTextField.h"
#include "ui/QNErrorController.h"
#include "ui/QNSpinner.h"
#include "ui/Screens.h"
#include "ui/View.h"
#include "ui/Window.h"

using namespace Qt::StringLiterals;

Screens::Screens(const QString& interfaceName) {
    std::unique_ptr<QWidget> root = loadInterfaceFile(interfaceName);
    loadOutlets(*root);
    if (view_ != root.get()) {
        throwWrongClass(*root, View::staticMetaObject.className());
    }
    static_cast<void>(root.release());
    // It shows a cross and no words.
    closeButton_->setAccessibleName(platform::localizedString(u"MenuQuit"_s));
}

Screens::~Screens() {
    delete view_.data();
}

void Screens::loadOutlets(QWidget& root) {
    view_ = outlet<View>(root, "view");
    closeButton_ = outlet<Button>(root, "closeButton");
    installView_ = outlet<View>(root, "installView");
    pageView_ = outlet<View>(root, "pageView");
    installButton_ = outlet<QNButton>(root, "installButton");
    errorView_ = outlet<View>(root, "errorView");
    checkButton_ = outlet<QNHoverButton>(root, "checkButton");
    checkTextField_ = outlet<TextField>(root, "checkTextField");
    agreementTextField_ = outlet<HyperlinkTextField>(root, "agreementTextField");
    spinnerView_ = outlet<View>(root, "spinnerView");
    connectingLabel_ = outlet<TextField>(root, "connectingLabel");
    subTitle_ = outlet<TextField>(root, "subTitle");
    licenseAgreementLabel_ = outlet<QNClickableTextField>(root, "licenseAgreementLabel");
    andLabel_ = outlet<TextField>(root, "andLabel");
    ppLabel_ = outlet<QNClickableTextField>(root, "ppLabel");
    pipIcon_ = outlet<ImageView>(root, "pipIcon");
    pipWhiteSpace_ = outlet<View>(root, "pipWhiteSpace");
    progressStatus_ = outlet<TextField>(root, "progressStatus");
    launchButton_ = outlet<QNButton>(root, "launchButton");
    messageOne_ = outlet<TextField>(root, "messageOne");
    messageTwo_ = outlet<TextField>(root, "messageTwo");
    messageThree_ = outlet<TextField>(root, "messageThree");
    networkStatus_ = outlet<View>(root, "networkStatus");
    noNetworkInfo_ = outlet<TextField>(root, "noNetworkInfo");
}

View* Screens::view() const {
    return view_;
}

void Screens::setViewHidden(bool hidden) {
    if (view_->isWindow()) {
        // Not in the window yet: shown now, it would be a window of its own, for an instant. Only the wish is kept.
        view_->setAttribute(Qt::WA_WState_ExplicitShowHide, hidden);
        return;
    }
    view_->setHidden(hidden);
    auto* const window = qobject_cast<Window*>(view_->window());
    if (window == nullptr) {
        return;
    }
    if (hidden) {
        window->orderOut();
    } else if (!window->isVisible()) {
        window->center();
        window->orderFrontRegardless();
    }
}

bool Screens::isViewHidden() const {
    return view_->isWindow() ? view_->testAttribute(Qt::WA_WState_ExplicitShowHide) : view_->isHidden();
}
