#include "ui/Announcement.h"

#include "platform/ScreenReader.h"

#include <QAccessible>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <mutex>

namespace {

class Announcer : public QAccessible::ActivationObserver {
public:
    void say(QWidget& screen, const QString& text) {
        screen_ = &screen;
        text_ = text;
        sayAgain();
    }

    // Before Qt's bridge has put its objects up.
    void accessibilityActiveChanged(bool active) override {
        if (active && screen_) {
            QTimer::singleShot(0, screen_, [this] { sayAgain(); });
        }
    }

private:
    void sayAgain() const {
        QAccessibleInterface* const screen = QAccessible::queryAccessibleInterface(screen_);
        if (QAccessible::isActive() && screen != nullptr) {
            platform::announce(*screen, text_);
        }
    }

    QPointer<QWidget> screen_;
    QString text_;
};

} // namespace

void announceScreen(QWidget& screen, const QString& text) {
    static auto* const announcer = new Announcer; // never destroyed: Qt asks it to the end
    static std::once_flag watching;
    std::call_once(watching, [] { QAccessible::installActivationObserver(announcer); });
    announcer->say(screen, text);
}
