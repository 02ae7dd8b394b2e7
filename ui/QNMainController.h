#pragma once

// The one controller of the main window: the flow of an installation, and the screens that it shows.
//
// Where what is defined:
//   flow                   install/QNMainController.cpp
//   download               install/QNMainControllerDownload.cpp
//   disk image             install/QNMainControllerDiskImage.cpp
//   installer's output     install/QNMainControllerOutput.cpp
//   screens                ui/QNMainControllerScreens.cpp
//   their texts            ui/QNMainControllerTexts.cpp
//   view and outlets       ui/QNMainControllerView.cpp

#include "logging/LogContext.h"
#include "platform/base/TransportError.h"
#include "ui/Image.h"
#include "ui/StyledText.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

struct Notification;
struct UrlResponse;

class Button;
class HyperlinkTextField;
class ImageView;
class MainMenu;
class QNAlertController;
class QNButton;
class QNClickableTextField;
class QNConfig;
class QNErrorController;
struct QNErrorObject;
class QNHoverButton;
class QNSpinner;
class ReadingFileHandle;
class Task;
class TextField;
class QWidget;
class View;

// Which buttons an error panel shows. A type for each, so that (retry, contact support) and (close, contact support)
// cannot be mixed up.
struct Retry {
    bool value;
};
struct Close {
    bool value;
};
struct ContactSupport {
    bool value;
};

// Its view and outlets come from an interface file of the bundle; all outlets exist from construction to destruction.
//
// Main thread only. Knows nothing of the window around its view, except that hiding the view takes that window off the
// screen.
class QNMainController : public QObject {
    Q_OBJECT

public:
    // Loads the interface file, checks every outlet by name and type, then runs awakeFromNib once, which starts the
    // first run. `mainMenu` may be absent. Throws PlatformException when the file is missing, broken or incomplete.
    explicit QNMainController(const QString& interfaceName, MainMenu* mainMenu = nullptr);
    ~QNMainController() override;

    View* view() const;
    // Hidden: the view's window is off the screen, and the display knows, when this returns. Shown: the window is back,
    // centred and in front. Before the view is in a window only the view itself is marked.
    void setViewHidden(bool hidden);
    bool isViewHidden() const;

    // --- Flow ---

    void awakeFromNib();
    void subscribeEvents();
    void onShowCloseButton();
    void onHideCloseButton();
    // The quit action of the menu, and the window manager's wish to close the window.
    void tapQuit();
    void onCloseTap();
    void showQuitAler();
    void sendEvent(const QString& eventName, const QVariantMap& data);
    void startInstallation();
    void beginInstallation();
    void quitInstallation(const Notification& notification);

    // --- Download ---

    void URLSessionDownloadTaskDidWriteData(std::int64_t bytesWritten, std::int64_t totalBytesWritten,
                                            std::int64_t totalBytesExpectedToWrite);
    void URLSessionTaskDidCompleteWithError(const std::optional<TransportError>& error);

    // --- Disk image ---

    void URLSessionDownloadTaskDidFinishDownloadingToURL(const UrlResponse& response, const QString& location);

    // --- Installer's output ---

    void receivedData(const Notification& notification);
    void taskCompletion(const Notification& notification);

    // --- Screens ---

    // Creates the error panel and starts the installation.
    void setupUI();
    void setupConnectingLabel();
    // Creates the spinner that is in no view; gives the view its layer; makes this the menu's delegate.
    void setupSpinner();
    void setupLayer();
    void setupMainMenu();
    void hidePageView();
    // Closes the confirmation alert's window, if there is one.
    void hideAlert(const Notification& notification);

    void showGenericDownloadScreen();
    void showGenericError();

    // An error panel. Message and subtitle keep their runs and links; an absent subtitle hides its label, an empty one
    // does not; an absent icon clears the picture.
    void showInfoAlertWithMessage(const StyledText& message, const QString& title, const std::optional<Image>& icon,
                                  const std::optional<StyledText>& subTitle);
    // Also sets closeWithoutCheck.
    void showInfoAlertWithMessage(const StyledText& message, const QString& title, const std::optional<Image>& icon,
                                  Close close, ContactSupport contactSupport,
                                  const std::optional<StyledText>& subTitle);
    void showInfoAlertWithMessage(const StyledText& message, const QString& title, const std::optional<Image>& icon,
                                  Retry retry, ContactSupport contactSupport,
                                  const std::optional<StyledText>& subTitle);
    void showInfoAlertWithMessage(const StyledText& message, const QString& title, const std::optional<Image>& icon,
                                  Retry retry, Close close, ContactSupport contactSupport,
                                  const std::optional<StyledText>& subTitle);
    // Turns the panel's close button, for the rest of the run, into one that opens the link and quits.
    void showInfoAlertWithMessage(const StyledText& message, const QString& title, const std::optional<Image>& icon,
                                  Retry retry, Close close, ContactSupport contactSupport,
                                  const std::optional<StyledText>& subTitle, const QString& closeButtonLabel,
                                  const std::optional<QString>& closeButtonLink);

    StyledText setupGenericDownloadUI() const;
    StyledText setupVisitOnlineSiteLabelUI() const;
    StyledText setupContactSupportLabelsUI() const;
    // The text read as HTML; without a font, in the system's font at its default size.
    StyledText stringFromHTML(const QString& html, const std::optional<FontChoice>& font) const;

    // --- Fields ---

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

private:
    // --- Flow ---

    void configurationLoaded(const std::shared_ptr<QNConfig>& config, const std::optional<TransportError>& error,
                             std::chrono::system_clock::time_point started, const LogContext& context);
    void openConfiguredLink();

    // --- Download ---

    void startDownload();
    void showNoInternet();

    // --- Disk image ---

    // Mounts, runs, detaches and asks to quit. The message of the failure that stopped it, if one did. Throws what the
    // platform raises on the way.
    std::optional<QString> installFrom(const QString& image);
    void runInstaller(const QString& application);
    void failInstallation(const QString& message, const QString& eventName, const QVariantMap& data);

    // --- Installer's output ---

    void readOutputOf(const std::shared_ptr<Task>& task, const std::shared_ptr<ReadingFileHandle>& output);

    // --- Screens ---

    void loadOutlets(QWidget& root);
    void connectActions();
    void showErrorPanel();
    void showRecord(const StyledText& message, const QString& title, const std::optional<Image>& icon, Retry retry,
                    Close close, ContactSupport contactSupport, const std::optional<StyledText>& subTitle);

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
    std::shared_ptr<QNAlertController> closedAlert_; // the last one
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
    QPointer<View> view_; // owned here until it is put into a window
};
