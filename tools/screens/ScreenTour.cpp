#include "tools/screens/ScreenTour.h"

#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "platform/Bundle.h"
#include "platform/base/MainQueue.h"
#include "ui/MainMenu.h"
#include "ui/QNAlertController.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>

using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<QNConfig> linkConfig() {
    return std::make_shared<QNConfig>(QVariantMap{
        {u"userAction"_s, QVariantList{QVariantMap{{u"action"_s, u"openLink"_s},
                                                   {u"isActive"_s, u"1"_s},
                                                   {u"actionUrl"_s, u"https://www.example.com/download"_s}}}}});
}

void prepare(Window& window, QNMainController& controller) {
    window.addSubview(controller.view());
    window.setStyleMask(Window::kBorderless);
    window.setBackgroundColor(Color{0.0, 0.0, 0.0, 0.0});
    window.setOpaque(false);
    window.setHasShadow(true);
    window.setCornerRadius(8.0);
    window.orderFrontRegardless();
}

} // namespace

void tourScreens(const std::function<void(const QString& screen, Window& window)>& visit) {
    QApplication::setQuitOnLastWindowClosed(false);
    MainQueue::attachToMainThread();
    const MainInterface interface = loadMainMenu();
    Window& window = *interface.window;
    window.center();
    QNMainController controller(u"QNMainController"_s, interface.mainMenu);
    prepare(window, controller);
    visit(u"no-internet"_s, window);
    controller.showGenericError();
    visit(u"error"_s, window);
    controller.setConfig(linkConfig());
    controller.showGenericDownloadScreen();
    visit(u"download"_s, window);
    controller.showConnectingScreen();
    visit(u"connecting"_s, window);
    QNAlertController alert;
    alert.showWindow(nullptr, platform::localizedString(u"MenuQuit"_s),
                     platform::localizedString(u"MessagePleaseTryLater"_s), u"Y"_s, u"N"_s);
    window.orderOut();
    visit(u"alert"_s, *alert.window());
}
