#include "platform/base/NotificationCenter.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/QNMainController.h"
#include "ui/Window.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

// What a screen reader sees: the tree of another process over the accessibility bus (AT-SPI2), with a session bus and
// an accessibility bus of its own.

namespace {

struct Node {
    QString service;
    QString path;
};

class Bus {
public:
    // A session bus, and the accessibility bus that it starts on demand.
    bool start() {
        daemon_.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        if (!daemon_.waitForStarted() || !daemon_.waitForReadyRead())
            return false;
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
        const QDBusConnection session = QDBusConnection::connectToBus(address_, u"session"_s);
        const QDBusMessage reply = session.call(
            QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.a11y.Bus"_s, u"GetAddress"_s));
        if (reply.type() != QDBusMessage::ReplyMessage)
            return false;
        QDBusConnection::connectToBus(reply.arguments().value(0).toString(), u"accessibility"_s);
        return QDBusConnection(u"accessibility"_s).isConnected();
    }
    ~Bus() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }
    const QString& address() const { return address_; }

    static QDBusMessage call(const Node& node, const QString& interface, const QString& method,
                             const QVariantList& arguments = {}) {
        QDBusMessage message = QDBusMessage::createMethodCall(node.service, node.path, interface, method);
        message.setArguments(arguments);
        return QDBusConnection(u"accessibility"_s).call(message, QDBus::Block, 5000);
    }
    static QString nameOf(const Node& node) {
        const QDBusMessage reply =
            call(node, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {u"org.a11y.atspi.Accessible"_s, u"Name"_s});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    }
    static QString roleOf(const Node& node) {
        return call(node, u"org.a11y.atspi.Accessible"_s, u"GetRoleName"_s).arguments().value(0).toString();
    }
    static bool isShowing(const Node& node) {
        const QDBusMessage reply = call(node, u"org.a11y.atspi.Accessible"_s, u"GetState"_s);
        const auto argument = reply.arguments().value(0).value<QDBusArgument>();
        QList<uint> words;
        argument >> words;
        constexpr uint kShowing = 25; // ATSPI_STATE_SHOWING
        return !words.isEmpty() && (words[0] >> kShowing & 1U) != 0;
    }
    static QList<Node> childrenOf(const Node& node) {
        const QDBusMessage reply = call(node, u"org.a11y.atspi.Accessible"_s, u"GetChildren"_s);
        QList<Node> children;
        if (reply.arguments().isEmpty())
            return children;
        const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
        argument.beginArray();
        while (!argument.atEnd()) {
            Node child;
            QDBusObjectPath path;
            argument.beginStructure();
            argument >> child.service >> path;
            argument.endStructure();
            child.path = path.path();
            children += child;
        }
        argument.endArray();
        return children;
    }

private:
    QProcess daemon_;
    QString address_;
};

void collect(const Node& node, QList<std::pair<QString, Node>>& found) {
    const QString role = Bus::roleOf(node);
    const bool matters = role == u"push button"_s || role == u"button"_s || role == u"link"_s;
    if (matters && Bus::isShowing(node))
        found += {(role == u"link"_s ? u"link: "_s : u"button: "_s) + Bus::nameOf(node), node};
    for (const Node& child : Bus::childrenOf(node))
        collect(child, found);
}

// The buttons and links of the one application on the bus, once there are any.
QList<std::pair<QString, Node>> waitForControls() {
    QList<std::pair<QString, Node>> found;
    test::waitFor([&found] {
        found.clear();
        collect({u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s}, found);
        return !found.isEmpty();
    });
    return found;
}

class AssistiveTechnologyTest : public UserInterfaceTest {
protected:
    // Shows the screen of another case of this program in a process of its own.
    void showScreen(const QString& name) {
        ASSERT_TRUE(bus_.start());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus_.address());
        environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        environment.remove(u"QN_SYSTEM_ROOT"_s);
        other_.setProcessEnvironment(environment);
        other_.setStandardOutputFile(QProcess::nullDevice());
        other_.setStandardErrorFile(QProcess::nullDevice());
        other_.start(
            QCoreApplication::applicationFilePath(),
            {u"--gtest_also_run_disabled_tests"_s, u"--gtest_filter=AssistiveTechnologyTest.DISABLED_"_s + name});
        ASSERT_TRUE(other_.waitForStarted());
    }
    ~AssistiveTechnologyTest() override {
        other_.kill();
        other_.waitForFinished();
    }
    static void press(const Node& node) {
        const QDBusMessage reply = Bus::call(node, u"org.a11y.atspi.Action"_s, u"DoAction"_s, {0});
        EXPECT_TRUE(reply.arguments().value(0).toBool()) << qPrintable(reply.errorMessage());
    }
    // What the other process posted and opened.
    static QStringList linesOf(const QString& file, int count) {
        const auto lines = [&] {
            return QFile::exists(file) ? QString::fromUtf8(test::readFile(file)).split(u'\n', Qt::SkipEmptyParts)
                                       : QStringList();
        };
        test::waitFor([&] { return lines().size() >= count; }, std::chrono::seconds(10));
        return lines();
    }
    // In the other process: stays until it is asked to end, and then writes down what was posted.
    void stay() {
        whenTerminated([this] { test::writeFile(test::home() + u"/posted"_s, posted().join(u'\n').toUtf8()); });
        QEventLoop loop;
        QTimer::singleShot(std::chrono::seconds(60), &loop, &QEventLoop::quit);
        loop.exec();
    }

private:
    Bus bus_;
    QProcess other_;
};

QStringList namesOf(const QList<std::pair<QString, Node>>& controls) {
    QStringList names;
    for (const auto& [name, node] : controls)
        names += name;
    return names;
}

} // namespace

TEST_F(AssistiveTechnologyTest, DISABLED_NoInternet) {
    window().orderFrontRegardless();
    stay();
}

TEST_F(AssistiveTechnologyTest, DISABLED_Error) {
    controller().showGenericError();
    window().orderFrontRegardless();
    stay();
}

TEST_F(AssistiveTechnologyTest, FindsAndPressesTheButtonsOfTheNoInternetScreen) {
    showScreen(u"NoInternet"_s);
    const auto controls = waitForControls();
    EXPECT_EQ(namesOf(controls), (QStringList{u"button: Try again"_s, u"button: Quit"_s}));
    for (const auto& [name, node] : controls)
        press(node);
    EXPECT_EQ(linesOf(test::home() + u"/posted"_s, 2), (QStringList{u"START_INSTALLATION"_s, u"QUIT_INSTALLATION"_s}));
}

TEST_F(AssistiveTechnologyTest, FindsAndPressesTheControlsOfTheErrorScreen) {
    showScreen(u"Error"_s);
    const auto controls = waitForControls();
    EXPECT_EQ(namesOf(controls), (QStringList{u"link: download and install the latest version"_s, u"link: click here"_s,
                                              u"button: Close"_s, u"button: Contact support"_s,
                                              u"link: Visit our help site"_s, u"button: Quit"_s}));
    for (const auto& [name, node] : controls) {
        if (name != u"button: Close"_s && name != u"button: Quit"_s)
            press(node);
    }
    EXPECT_EQ(linesOf(test::home() + u"/opened"_s, 3).size(), 3);
    press(controls.at(2).second);
    EXPECT_EQ(linesOf(test::home() + u"/posted"_s, 2),
              (QStringList{u"SHOW_CONTACT_SUPPORT_BUTTON"_s, u"QUIT_INSTALLATION"_s}));
}
