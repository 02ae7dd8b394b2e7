#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <chrono>
#include <optional>

class Button;
class HyperlinkTextField;
class ImageView;
struct QNErrorObject;
class TextField;
class View;

// The panel for whatever needs the user: a picture, a headline, a text, a subtitle and up to three buttons, which post
// notifications and do nothing themselves. Escape presses the close button where it shows. Return presses the first
// button while no control has the keyboard, unless the record has only just been put up: that Return was meant for what
// was there before.
//
// Main thread. One panel lives as long as the main window. Once the close button has been turned into the one that
// opens a link, it stays so.
class QNErrorController : public QObject {
    Q_OBJECT

public:
    // Loads the interface file, then runs awakeFromNib once. Throws PlatformException when the file is missing, broken
    // or incomplete.
    explicit QNErrorController(const QString& interfaceName);
    ~QNErrorController() override;

    // Owned here until it is put into another view.
    View* view() const;

    // Copies the record into the views. What is absent clears its view.
    void setErrorObject(const QNErrorObject& object);
    // The text is not looked at: the label is always the localized "MessageDownloadButtonText".
    void setCloseButtonLabel(const QString& label);
    void setCloseButtonLink(const std::optional<QString>& link);

    // For how long after a record Return is still taken for the last screen's.
    static constexpr std::chrono::milliseconds kSettlingTime{700};
    void setSettlingTime(std::chrono::milliseconds time) { settlingTime_ = time; }

    void onRetryClick();
    void onContactSupportClick();
    void onCLoseClick();

    bool customActionOnClose() const { return customActionOnClose_ != 0; }
    void setCustomActionOnClose(bool value) { customActionOnClose_ = value ? 1 : 0; }
    const std::optional<QString>& customActionLink() const { return customActionLink_; }
    void setCustomActionLink(const std::optional<QString>& link) { customActionLink_ = link; }
    HyperlinkTextField* errorMessage() const { return errorMessage_; }
    void setErrorMessage(HyperlinkTextField* field) { errorMessage_ = field; }
    HyperlinkTextField* infoText() const { return infoText_; }
    void setInfoText(HyperlinkTextField* field) { infoText_ = field; }
    TextField* errorTitle() const { return errorTitle_; }
    void setErrorTitle(TextField* field) { errorTitle_ = field; }
    ImageView* errorIcon() const { return errorIcon_; }
    void setErrorIcon(ImageView* icon) { errorIcon_ = icon; }
    Button* retryButton() const { return retryButton_; }
    void setRetryButton(Button* button) { retryButton_ = button; }
    Button* closeButton() const { return closeButton_; }
    void setCloseButton(Button* button) { closeButton_ = button; }
    Button* contactSupportButton() const { return contactSupportButton_; }
    void setContactSupportButton(Button* button) { contactSupportButton_ = button; }

private:
    void awakeFromNib();
    void setupTitle();
    void setupMessage();
    void setupSubTitle();
    void setupRetryButton();
    void setupCloseButton();
    void setupContactSupport();
    void connectActions();
    void connectKeys();
    void pressFirstButton();

    signed char customActionOnClose_ = 0;
    std::optional<QString> customActionLink_;
    HyperlinkTextField* errorMessage_ = nullptr;
    HyperlinkTextField* infoText_ = nullptr;
    TextField* errorTitle_ = nullptr;
    ImageView* errorIcon_ = nullptr;
    Button* retryButton_ = nullptr;
    Button* closeButton_ = nullptr;
    Button* contactSupportButton_ = nullptr;
    std::chrono::milliseconds settlingTime_ = kSettlingTime;
    std::chrono::steady_clock::time_point shownAt_;
    QPointer<View> view_;
};
