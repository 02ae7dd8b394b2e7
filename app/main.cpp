#include "app/AppDelegate.h"
#include "app/Application.h"
#include "platform/AddressEvents.h"
#include "platform/Bundle.h"
#include "platform/BusAutostart.h"
#include "platform/Console.h"
#include "platform/Display.h"
#include "platform/EndSignals.h"
#include "platform/QtMessages.h"
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

// All that runs out of its turn so that the first frame comes sooner, in its order, with what each saves of that time
// in the released program while it connects and without a network. bench/StartBench.cpp measured each alone;
// docs/performance.md has the table.
//
// 1. libcurl and the thirty libraries that it brings along are loaded with the first request where they are shared
//    (platform/linux/CurlLibrary.h): 5.5 and 5.4 ms. The released program has them inside.
// 2. That request waits for the first frame (platform/base/FirstFrame.h): 1.9 and 0.2 ms.
// 3. The bundle's own fonts are read while the display is connected: 3.1 and 3.1 ms.
// 4. The tool that the first log line needs, and the one of the first event, work meanwhile: 3.1 and 0.9 ms. A second
//    copy, which has to leave, needs neither.
void startAhead(const Bundle& bundle) {
    platform::expectFirstFrame();
    platform::addOwnFonts(bundle.path() + u"/Contents/Resources/Fonts"_s);
    if (AppDelegate::isFirstCopy()) {
        QNSystemInfo::askToolsAhead();
    }
}

// 5. Qt finds the fonts, and makes its table for smooth edges, on a thread, while the window is put together: 3.2 and
//    2.6 ms. It needs the display.
void startAheadWithDisplay() {
    loadFontsAhead();
}

} // namespace

int main(int argc, char** argv) {
    platform::refuseWithoutMemory();
    platform::undoInheritedSettings();
    if (const char* const sentence = platform::missingRoom()) {
        platform::consoleLog(QString::fromLatin1(sentence));
        return 1;
    }
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
    platform::setProcessArguments(arguments);
    startAhead(bundle);
    PrivatePlugins plugins(argv[0], *windowSystem);
    // A session manager is another program, which may have stopped; and an installer is not to start again at the next
    // log-in.
    QCoreApplication::setAttribute(Qt::AA_DisableSessionManager);
    platform::awaitWindowSystem();
    Application application(plugins.argumentCount(), plugins.arguments());
    platform::windowSystemIsReady();
    startAheadWithDisplay();
    QGuiApplication::setQuitOnLastWindowClosed(false);
    MainQueue::attachToMainThread();
    std::_Exit(run(application)); // destroys nothing that another thread may still be using
}
