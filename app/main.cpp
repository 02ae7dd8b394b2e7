#include "app/AppDelegate.h"
#include "app/Application.h"
#include "platform/AddressEvents.h"
#include "platform/Bundle.h"
#include "platform/BusAutostart.h"
#include "platform/Console.h"
#include "platform/Display.h"
#include "platform/EndSignals.h"
#include "platform/RealPath.h"
#include "platform/SystemExceptions.h"
#include "platform/Termination.h"
#include "platform/UserLocale.h"
#include "platform/base/FirstFrame.h"
#include "platform/base/Format.h"
#include "platform/base/MainQueue.h"
#include "platform/base/ProcessArguments.h"
#include "platform/base/ProcessSetup.h"
#include "platform/base/UncaughtException.h"
#include "sysinfo/QNSystemInfo.h"
#include "ui/Fonts.h"
#include "ui/MainMenu.h"
#include "ui/PrivatePlugins.h"
#include "ui/Window.h"

#include <QStringList>

#include <cstdlib>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

int unusable(const char* message, const QString& detail) {
    platform::consoleLog(formatText(message, detail));
    return 1;
}

QStringList argumentList(int argc, char** argv) {
    QStringList arguments;
    for (int index = 0; index < argc; ++index) {
        arguments += QString::fromLocal8Bit(argv[index]);
    }
    return arguments;
}

int run(Application& application) {
    MainInterface interface;
    try {
        interface = loadMainMenu();
    } catch (const PlatformException& exception) {
        return unusable("The interface file MainMenu.ui cannot be used: %@", exception.description());
    }
    // Lives until the process ends, which no destructor sees.
    auto& delegate = *new AppDelegate(std::move(interface));
    platform::setWillTerminateHandler([&delegate] { delegate.applicationWillTerminate(); });
    platform::terminateOnSignals();
    delegate.applicationWillFinishLaunching();
    platform::reportingUncaughtExceptions([&delegate] { delegate.applicationDidFinishLaunching(); });
    return application.exec();
}

// All that runs out of its turn so that the first frame comes sooner, in its order. The gains are those of the first
// frame while it connects; docs/performance.md has the series.
void startAhead() {
    // libcurl and the libraries that it brings along are loaded when the frame is shown: 9 ms. Linked, they would be
    // loaded before main(); loaded with the request, they take a processor from the frame.
    platform::expectFirstFrame();
    // The first log line needs one tool and the first event the other; both work while the display is connected: 9 ms.
    // A copy that has to leave needs neither.
    if (AppDelegate::isFirstCopy()) {
        QNSystemInfo::askToolsAhead();
    }
}

} // namespace

int main(int argc, char** argv) {
    platform::undoInheritedSettings();
    const QStringList arguments = argumentList(argc, argv);
    const Bundle& bundle = Bundle::mainBundle();
    if (bundle.infoDictionary().isEmpty()) {
        return unusable("The bundle at %@ has no readable Info.plist", bundle.path());
    }
    if (arguments.size() > 2 && arguments[1] == u"--open-url"_s) {
        platform::forwardAddressToRunningCopy(arguments[2]);
        std::_Exit(0); // the bus library's thread may still wait for a bus that says nothing
    }
    const auto windowSystem = platform::windowSystemPlugin(bundle.path() + u"/Contents/PlugIns"_s);
    if (!windowSystem) {
        return unusable("There is no display to show a window on, or no plugin for it in %@", bundle.path());
    }

    platform::addOwnToolsToPath();
    platform::keepQtFromStartingABus();
    platform::keepQtInUtf8();
    platform::installTerminateNet();
    platform::reportUncaughtSystemExceptions();
    platform::captureQtMessages();
    setProcessArguments(arguments);
    platform::addOwnFonts(bundle.path() + u"/Contents/Resources/Fonts"_s);
    startAhead();
    PrivatePlugins plugins(argv[0], *windowSystem);
    // A session manager is another program, which may have stopped; and an installer is not to start again at the next
    // log-in.
    QCoreApplication::setAttribute(Qt::AA_DisableSessionManager);
    platform::awaitWindowSystem();
    Application application(plugins.argumentCount(), plugins.arguments());
    platform::windowSystemIsReady();
    loadFontsAhead(); // the last of what startAhead() begins; it needs the application object: 1 ms
    QGuiApplication::setQuitOnLastWindowClosed(false);
    MainQueue::attachToMainThread();
    std::_Exit(run(application)); // destroys nothing that another thread may still be using
}
