#pragma once

// What the main window's controller shows: the view and its outlets, the error panel, and the screens that are made of
// them.
//
// Where what is defined:
//   screens                ui/QNMainControllerScreens.cpp (the name stands in the event log, and stays)
//   their texts            ui/ScreensTexts.cpp
//   view and outlets       ui/ScreensView.cpp
//   fields and accessors   ui/ScreenFields.h

#include "ui/Image.h"
#include "ui/ScreenFields.h"
#include "ui/StyledText.h"

#include <QPointer>
#include <QString>

#include <memory>
#include <optional>

struct Notification;

class QWidget;

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
// What its buttons do is the derived class's: nothing is connected here.
//
// Main thread only. Knows nothing of the window around its view, except that hiding the view takes that window off the
// screen.
class Screens : public ScreenFields {
    Q_OBJECT

public:
    // Loads the interface file and checks every outlet by name and type. Throws PlatformException when the file is
    // missing, broken or incomplete.
    explicit Screens(const QString& interfaceName);
    ~Screens() override;

    View* view() const;
    // Hidden: the view's window is off the screen, and the display knows, when this returns. Shown: the window is back,
    // centred and in front. Before the view is in a window only the view itself is marked.
    void setViewHidden(bool hidden);
    bool isViewHidden() const;

    void setupConnectingLabel();
    // Creates the spinner that is in no view; gives the view its layer.
    void setupSpinner();
    void setupLayer();
    void hidePageView();
    void showConnectingScreen();
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

protected:
    // Puts the controls into their first state and the error panel into its view.
    void setupErrorPanel();

private:
    void loadOutlets(QWidget& root);
    void showErrorPanel();
    // After a change of screens no control has the keyboard, so that a key meant for the last screen presses nothing.
    void releaseKeyboard();
    void showRecord(const StyledText& message, const QString& title, const std::optional<Image>& icon, Retry retry,
                    Close close, ContactSupport contactSupport, const std::optional<StyledText>& subTitle);

    std::shared_ptr<QNAlertController> closedAlert_; // the last one
    QPointer<View> view_;                            // owned here until it is put into a window
};
