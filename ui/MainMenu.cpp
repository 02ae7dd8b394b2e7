#include "platform/Bundle.h"
#include "ui/InterfaceFile.h"
#include "ui/QNMainController.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QAction>

MainMenu::MainMenu(QAction* quit, QObject* parent) : QObject(parent), quit_(quit) {
    quit_->setText(localizedString(QStringLiteral("MenuQuit")));
    connect(quit_, &QAction::triggered, this, &MainMenu::tapQuit);
}

void MainMenu::setDelegate(QNMainController* delegate) {
    delegate_ = delegate;
}

QNMainController* MainMenu::delegate() const {
    return qobject_cast<QNMainController*>(delegate_.data());
}

void MainMenu::tapQuit() const {
    if (QNMainController* const controller = delegate())
        controller->tapQuit();
}

MainInterface loadMainMenu() {
    std::unique_ptr<QWidget> root = loadInterfaceFile(QStringLiteral("MainMenu"));
    auto* const window = outlet<Window>(*root, "window");
    auto* const contentView = outlet<View>(*root, "contentView");
    auto* const quit = outlet<QAction>(*root, "quitAction");
    if (window != root.get())
        throwWrongClass(*root, Window::staticMetaObject.className());
    window->setContentView(contentView);
    MainInterface interface;
    interface.mainMenu = new MainMenu(quit, window);
    static_cast<void>(root.release());
    interface.window.reset(window);
    return interface;
}
