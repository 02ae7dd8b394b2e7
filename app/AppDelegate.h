#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class MainMenu;
class QNMainController;
class Window;
struct MainInterface;
struct Notification;

// Owns the process from the loaded main menu file to its end: one running copy, the launch sequence, the queue of
// analytics lines, the program's own address scheme, and the last post.
//
// Threads: main thread, except that the queue and the endpoint may be changed from any thread.
class AppDelegate {
public:
    explicit AppDelegate(MainInterface interface);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    // Whether no earlier copy runs. Asked once, and the answer kept: a copy that comes later does not make this one the
    // second.
    static bool isFirstCopy();

    // Ends the process with status 0, after activating the earlier copy, when this is a second one.
    void applicationWillFinishLaunching();
    // Throws what the main controller's interface file throws.
    void applicationDidFinishLaunching();
    // Appends the "End" event and posts the whole queue, when an endpoint is known; waits for the answer.
    void applicationWillTerminate();

    // Observers of "LOG_ANALYTICS" and "CHANGE_ANALYTICS_URL". Any thread.
    void addAnalytics(const Notification& notification);
    void changeAnalyticsUrl(const Notification& notification);

    // An address of the program's own scheme that the system hands over. Unknown ones are ignored.
    void getUrl(const QString& address);

    Window* window() const { return window_.get(); }
    void setWindow(std::unique_ptr<Window> window);
    QNMainController* mainController() const { return mainController_.get(); }
    void setMainController(std::unique_ptr<QNMainController> controller);

private:
    void showWindow();

    std::unique_ptr<Window> window_;
    std::unique_ptr<QNMainController> mainController_;
    MainMenu* mainMenu_;
};

// The process-wide queue of analytics lines and the endpoint's address, absent until the configuration names one. Any
// thread.
QStringList analyticsQueue();
std::optional<QString> analyticsUrl();
