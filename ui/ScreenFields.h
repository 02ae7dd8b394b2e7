#pragma once

#include <QObject>
#include <QVariantMap>

#include <cstdint>
#include <memory>

class Button;
class HyperlinkTextField;
class ImageView;
class MainMenu;
class QNAlertController;
class QNButton;
class QNClickableTextField;
class QNConfig;
class QNErrorController;
class QNHoverButton;
class QNSpinner;
class TextField;
class View;

// The fields of the main window's controller and a plain accessor for each: what a run has come to know, what the
// controller owns, and the outlets, which are references into its view's tree. Nothing is worked out here.
//
// Main thread only.
class ScreenFields : public QObject {
    Q_OBJECT

public:
    ScreenFields();
    ~ScreenFields() override;

    bool closeWithoutCheck() const { return closeWithoutCheck_; }
    void setCloseWithoutCheck(bool value) { closeWithoutCheck_ = value; }
    bool forceInstall() const { return forceInstall_; }
    void setForceInstall(bool value) { forceInstall_ = value; }
    signed char isLaunchOrNot() const { return isLaunchOrNot_; }
    void setIsLaunchOrNot(signed char value) { isLaunchOrNot_ = value; }
    double progressPercents() const { return progressPercents_; }
    void setProgressPercents(double percents) { progressPercents_ = percents; }
    const QVariantMap& pagesInfo() const { return pagesInfo_; }
    void setPagesInfo(const QVariantMap& info) { pagesInfo_ = info; }
    std::uint64_t pageIndex() const { return pageIndex_; }
    void setPageIndex(std::uint64_t index) { pageIndex_ = index; }

    const std::shared_ptr<QNConfig>& config() const { return config_; }
    void setConfig(std::shared_ptr<QNConfig> config) { config_ = std::move(config); }
    QNErrorController* errorController() const { return errorController_.get(); }
    void setErrorController(std::unique_ptr<QNErrorController> controller);
    QNSpinner* spinner() const { return spinner_.get(); }
    void setSpinner(std::unique_ptr<QNSpinner> spinner);
    QNAlertController* alert() const { return alert_.get(); }
    void setAlert(std::shared_ptr<QNAlertController> alert);
    MainMenu* mainMenu() const { return mainMenu_; }
    void setMainMenu(MainMenu* menu) { mainMenu_ = menu; }

    // Outlets: references into the view's tree.
    Button* closeButton() const { return closeButton_; }
    void setCloseButton(Button* button) { closeButton_ = button; }
    View* installView() const { return installView_; }
    void setInstallView(View* view) { installView_ = view; }
    View* pageView() const { return pageView_; }
    void setPageView(View* view) { pageView_ = view; }
    QNButton* installButton() const { return installButton_; }
    void setInstallButton(QNButton* button) { installButton_ = button; }
    View* errorView() const { return errorView_; }
    void setErrorView(View* view) { errorView_ = view; }
    QNHoverButton* checkButton() const { return checkButton_; }
    void setCheckButton(QNHoverButton* button) { checkButton_ = button; }
    TextField* checkTextField() const { return checkTextField_; }
    void setCheckTextField(TextField* field) { checkTextField_ = field; }
    HyperlinkTextField* agreementTextField() const { return agreementTextField_; }
    void setAgreementTextField(HyperlinkTextField* field) { agreementTextField_ = field; }
    View* spinnerView() const { return spinnerView_; }
    void setSpinnerView(View* view) { spinnerView_ = view; }
    TextField* connectingLabel() const { return connectingLabel_; }
    void setConnectingLabel(TextField* label) { connectingLabel_ = label; }
    TextField* subTitle() const { return subTitle_; }
    void setSubTitle(TextField* label) { subTitle_ = label; }
    QNClickableTextField* licenseAgreementLabel() const { return licenseAgreementLabel_; }
    void setLicenseAgreementLabel(QNClickableTextField* label) { licenseAgreementLabel_ = label; }
    TextField* andLabel() const { return andLabel_; }
    void setAndLabel(TextField* label) { andLabel_ = label; }
    QNClickableTextField* ppLabel() const { return ppLabel_; }
    void setPpLabel(QNClickableTextField* label) { ppLabel_ = label; }
    ImageView* pipIcon() const { return pipIcon_; }
    void setPipIcon(ImageView* icon) { pipIcon_ = icon; }
    View* pipWhiteSpace() const { return pipWhiteSpace_; }
    void setPipWhiteSpace(View* view) { pipWhiteSpace_ = view; }
    TextField* progressStatus() const { return progressStatus_; }
    void setProgressStatus(TextField* label) { progressStatus_ = label; }
    QNButton* launchButton() const { return launchButton_; }
    void setLaunchButton(QNButton* button) { launchButton_ = button; }
    TextField* messageOne() const { return messageOne_; }
    void setMessageOne(TextField* label) { messageOne_ = label; }
    TextField* messageTwo() const { return messageTwo_; }
    void setMessageTwo(TextField* label) { messageTwo_ = label; }
    TextField* messageThree() const { return messageThree_; }
    void setMessageThree(TextField* label) { messageThree_ = label; }
    View* networkStatus() const { return networkStatus_; }
    void setNetworkStatus(View* view) { networkStatus_ = view; }
    TextField* noNetworkInfo() const { return noNetworkInfo_; }
    void setNoNetworkInfo(TextField* label) { noNetworkInfo_ = label; }

protected:
    bool closeWithoutCheck_ = false;
    bool forceInstall_ = false;
    signed char isLaunchOrNot_ = 0;
    MainMenu* mainMenu_ = nullptr;
    Button* closeButton_ = nullptr;
    View* installView_ = nullptr;
    View* pageView_ = nullptr;
    QNButton* installButton_ = nullptr;
    View* errorView_ = nullptr;
    QNHoverButton* checkButton_ = nullptr;
    TextField* checkTextField_ = nullptr;
    HyperlinkTextField* agreementTextField_ = nullptr;
    std::unique_ptr<QNErrorController> errorController_;
    View* spinnerView_ = nullptr;
    std::unique_ptr<QNSpinner> spinner_;
    TextField* connectingLabel_ = nullptr;
    double progressPercents_ = 0.0;
    QVariantMap pagesInfo_;
    std::uint64_t pageIndex_ = 0;
    std::shared_ptr<QNConfig> config_;
    std::shared_ptr<QNAlertController> alert_;
    TextField* subTitle_ = nullptr;
    QNClickableTextField* licenseAgreementLabel_ = nullptr;
    TextField* andLabel_ = nullptr;
    QNClickableTextField* ppLabel_ = nullptr;
    ImageView* pipIcon_ = nullptr;
    View* pipWhiteSpace_ = nullptr;
    TextField* progressStatus_ = nullptr;
    QNButton* launchButton_ = nullptr;
    TextField* messageOne_ = nullptr;
    TextField* messageTwo_ = nullptr;
    TextField* messageThree_ = nullptr;
    View* networkStatus_ = nullptr;
    TextField* noNetworkInfo_ = nullptr;
};
