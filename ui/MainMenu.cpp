#include "ui/MainMenu.h"

#include "platform/Bundle.h"
#include "platform/WindowSystem.h"
#include "ui/Image.h"
#include "ui/InterfaceFile.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QAction>
#include <QIcon>
#include <QMenuBar>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

// For task bars and window lists. It can wait: the first frame is on the screen by then.
constexpr std::chrono::milliseconds kUntilIcon{250};

void setIconLater(QWidget* window) {
    QTimer::singleShot(kUntilIcon, window, [window] {
        const std::optional<Image> image = imageNamed(u"application_icon"_s);
        if (!image) {
            return;
        }
        QIcon icon;
        for (const double scale : {1.0, 2.0, 3.0}) {
            icon.addPixmap(image->pixmap(scale));
        }
        window->setWindowIcon(icon);
    });
}

} // namespace

MainMenu::MainMenu(QAction* quit, QObject* parent) : QObject(parent), quit_(quit) {
    quit_->setText(platform::localizedString(u"MenuQuit"_s));
    connect(quit_, &QAction::triggered, this, &MainMenu::quitRequested);
    if (platform::programsHaveAMenu()) {
        quit_->setMenuRole(QAction::QuitRole);
        menuBar_ = std::make_unique<QMenuBar>();
        menuBar_->addMenu(QString())->addAction(quit_);
    }
}

MainMenu::~MainMenu() = default;

MainInterface loadMainMenu() {
    std::unique_ptr<QWidget> root = loadInterfaceFile(u"MainMenu"_s);
    auto* const window = outlet<Window>(*root, "window");
    auto* const contentView = outlet<View>(*root, "contentView");
    auto* const quit = outlet<QAction>(*root, "quitAction");
    if (window != root.get()) {
        throwWrongClass(*root, Window::staticMetaObject.className());
    }
    window->setContentView(contentView);
    setIconLater(window);
    MainInterface interface;
    interface.mainMenu = new MainMenu(quit, window);
    static_cast<void>(root.release());
    interface.window.reset(window);
    return interface;
}
