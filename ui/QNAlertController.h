#pragma once

#include <QObject>
#include <QString>

#include <memory>

using namespace Qt::StringLiterals;

class Button;
class TextField;
class View;
class Window;

// A small window with a coloured header, a message and the buttons yes and no. It posts one of the two notifications
// that it was given and does not close itself: whoever observes them does.
//
// Main thread. At most one is on the screen.
class QNAlertController : public QObject {
    Q_OBJECT

public:
    // Loads the interface file, then runs windowDidLoad once. Throws PlatformException when the file is missing, broken
    // or incomplete.
    explicit QNAlertController(const QString& interfaceName = u"QNAlertController"_s);
    ~QNAlertController() override;

    Window* window() const { return window_.get(); }
    void showWindow(QObject* sender, const QString& title, const QString& message, const QString& yesNotification,
                    const QString& noNotification);
    void close();

    // The object of yesNotification is {"isUserAction": true}; that of noNotification is absent.
    void onYesButtonClick();
    void onNoButtonClick();

    TextField* title() const { return title_; }
    void setTitle(TextField* title) { title_ = title; }
    View* header() const { return header_; }
    void setHeader(View* header) { header_ = header; }
    View* view() const { return view_; }
    void setView(View* view) { view_ = view; }
    Button* yesButton() const { return yesButton_; }
    void setYesButton(Button* button) { yesButton_ = button; }
    Button* noButton() const { return noButton_; }
    void setNoButton(Button* button) { noButton_ = button; }
    TextField* message() const { return message_; }
    void setMessage(TextField* message) { message_ = message; }
    const QString& yesNotification() const { return yesNotification_; }
    void setYesNotification(const QString& name) { yesNotification_ = name; }
    const QString& noNotification() const { return noNotification_; }
    void setNoNotification(const QString& name) { noNotification_ = name; }

private:
    void windowDidLoad();
    void setupHeader();
    void setupBody();
    void setupYesButton();
    void setupNoButton();

    std::unique_ptr<Window> window_;
    TextField* title_ = nullptr;
    View* header_ = nullptr;
    View* view_ = nullptr;
    Button* yesButton_ = nullptr;
    Button* noButton_ = nullptr;
    TextField* message_ = nullptr;
    QString yesNotification_;
    QString noNotification_;
};
