#pragma once

#include "ui/Window.h"

#include <QObject>

#include <memory>

class QAction;
class QMenuBar;

// The application's menu. On screens without a menu bar it is never seen; its shortcuts work in the window all the
// same.
class MainMenu : public QObject {
    Q_OBJECT

public:
    MainMenu(QAction* quit, QObject* parent);
    ~MainMenu() override;

    QAction* quitAction() const { return quit_; }

Q_SIGNALS:
    // The user chose to quit. Nothing else happens.
    void quitRequested();

private:
    QAction* quit_;
    std::unique_ptr<QMenuBar> menuBar_; // where programs have one
};

// What the bundle's interface file MainMenu.ui holds: the main window, not yet on the screen, and the menu.
struct MainInterface {
    std::unique_ptr<Window> window;
    MainMenu* mainMenu = nullptr; // owned by the window
};

// Throws PlatformException when the file is missing, broken or incomplete.
MainInterface loadMainMenu();
