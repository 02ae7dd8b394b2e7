#include "tests/support/ScreenReader.h"

#include "tests/support/TestEnvironment.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::StringLiterals;

struct ScreenReader::Node {
    QString service;
    QString path;
    QString description;
};

namespace {

const QString kAccessible = u"org.a11y.atspi.Accessible"_s;
const QString kAction = u"org.a11y.atspi.Action"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;
const QString kConnection = u"accessibility"_s;

// The numbers of AT-SPI's states.
constexpr uint kPressed = 20;
constexpr uint kShowing = 25;

template <typename Node>
QDBusMessage call(const Node& node, const QString& interface, const QString& method,
                  const QVariantList& arguments = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(node.service, node.path, interface, method);
    message.setArguments(arguments);
    return QDBusConnection(kConnection).call(message, QDBus::Block, 5000);
}

template <typename Node>
QString nameOf(const Node& node) {
    const QDBusMessage reply = call(node, kProperties, u"Get"_s, {kAccessible, u"Name"_s});
    return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
}

template <typename Node>
QString roleOf(const Node& node) {
    return call(node, kAccessible, u"GetRoleName"_s).arguments().value(0).toString();
}

template <typename Node>
bool hasState(const Node& node, uint state) {
    const QDBusMessage reply = call(node, kAccessible, u"GetState"_s);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return false;
    }
    QList<uint> words;
    reply.arguments().constFirst().value<QDBusArgument>() >> words;
    return !words.isEmpty() && (words.constFirst() >> state & 1U) != 0;
}

template <typename Node>
std::vector<Node> childrenOf(const Node& node) {
    std::vector<Node> children;
    const QDBusMessage reply = call(node, kAccessible, u"GetChildren"_s);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return children;
    }
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        Node child;
        QDBusObjectPath path;
        argument.beginStructure();
        argument >> child.service >> path;
        argument.endStructure();
        child.path = path.path();
        children.push_back(child);
    }
    argument.endArray();
    return children;
}

// The place of the press action among a node's actions; -1 without one.
template <typename Node>
int pressActionOf(const Node& node) {
    const QDBusMessage reply = call(node, kAction, u"GetActions"_s);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return -1;
    }
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    int found = -1;
    argument.beginArray();
    for (int index = 0; !argument.atEnd(); ++index) {
        QString name;
        QString description;
        QString keys;
        argument.beginStructure();
        argument >> name >> description >> keys;
        argument.endStructure();
        if (name == u"Press"_s) {
            found = index;
        }
    }
    argument.endArray();
    return found;
}

// Hidden nodes are not passed over: what they hold might say that it is showing.
template <typename Node>
void collect(Node node, std::vector<Node>& found) {
    if (hasState(node, kShowing)) {
        const QString role = roleOf(node);
        const QString name = nameOf(node);
        node.description = role + u": "_s + name;
        const bool container = role == u"filler"_s && name.isEmpty();
        if (!container) {
            found.push_back(node);
        }
    }
    for (const Node& child : childrenOf(node)) {
        collect(child, found);
    }
}

} // namespace

// Gets the signals of the bus.
class ScreenReader::Ear : public QObject {
    Q_OBJECT

public:
    explicit Ear(Age age) {
        QDBusConnection bus(kConnection);
        const QString events = u"org.a11y.atspi.Event.Object"_s;
        QStringList wanted{u"object:state-changed"_s};
        if (age == Age::kToday) {
            wanted += u"object:announcement"_s;
        }
        for (const QString& event : wanted) {
            QDBusMessage wish =
                QDBusMessage::createMethodCall(u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/registry"_s,
                                               u"org.a11y.atspi.Registry"_s, u"RegisterEvent"_s);
            wish.setArguments({event, QStringList(), QString()});
            EXPECT_EQ(bus.call(wish).type(), QDBusMessage::ReplyMessage);
        }
        EXPECT_TRUE(bus.connect({}, {}, events, u"Announcement"_s, this, SLOT(announced(QDBusMessage))));
        EXPECT_TRUE(bus.connect({}, {}, events, u"StateChanged"_s, this, SLOT(stateChanged(QDBusMessage))));
    }
    const QStringList& heard() const { return heard_; }

private Q_SLOTS:
    void announced(const QDBusMessage& signal) {
        heard_ += u"announcement: "_s + signal.arguments().value(3).value<QDBusVariant>().variant().toString();
    }
    void stateChanged(const QDBusMessage& signal) {
        if (signal.arguments().value(0).toString() != u"focused"_s || signal.arguments().value(1).toInt() != 1) {
            return;
        }
        const Node node{signal.service(), signal.path(), QString()};
        const QString role = roleOf(node);
        if (role != u"frame"_s) {
            heard_ += u"focus: "_s + role + u": "_s + nameOf(node);
        }
    }

private:
    QStringList heard_;
};

ScreenReader::ScreenReader(Age age) {
    // On one display there is one accessibility bus: what starts it is not to see the display, which other cases use.
    QProcessEnvironment surroundings = QProcessEnvironment::systemEnvironment();
    surroundings.remove(u"DISPLAY"_s);
    daemon_.setProcessEnvironment(surroundings);
    daemon_.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    EXPECT_TRUE(daemon_.waitForStarted() && daemon_.waitForReadyRead());
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    const QDBusConnection session = QDBusConnection::connectToBus(address_, u"session"_s);
    // What makes programs build their trees. Asking starts the accessibility bus.
    QDBusMessage present = QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, kProperties, u"Set"_s);
    present.setArguments(
        {u"org.a11y.Status"_s, u"IsEnabled"_s, QVariant::fromValue(QDBusVariant(QVariant::fromValue(true)))});
    const QDBusMessage told = session.call(present);
    EXPECT_EQ(told.type(), QDBusMessage::ReplyMessage) << told.errorMessage().toStdString();
    const QDBusMessage reply = session.call(
        QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.a11y.Bus"_s, u"GetAddress"_s));
    QDBusConnection::connectToBus(reply.arguments().value(0).toString(), kConnection);
    EXPECT_TRUE(QDBusConnection(kConnection).isConnected()) << reply.errorMessage().toStdString();
    ear_ = std::make_unique<Ear>(age);
}

ScreenReader::~ScreenReader() {
    ear_.reset();
    QDBusConnection::disconnectFromBus(kConnection);
    QDBusConnection::disconnectFromBus(u"session"_s);
    daemon_.terminate();
    daemon_.waitForFinished();
}

std::vector<ScreenReader::Node> ScreenReader::showingNodes() const {
    std::vector<Node> found;
    for (const Node& program :
         childrenOf(Node{u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s, QString()})) {
        for (const Node& window : childrenOf(program)) {
            collect(window, found);
        }
    }
    return found;
}

QStringList ScreenReader::announced() const {
    QStringList announced;
    for (const Node& node : showingNodes()) {
        announced += node.description;
    }
    return announced;
}

QStringList ScreenReader::announcedOnce(const QStringList& expected) const {
    QStringList last;
    test::waitFor([&] {
        last = announced();
        return last == expected;
    });
    return last;
}

QStringList ScreenReader::heard(qsizetype count) const {
    test::waitFor([&] { return ear_->heard().size() >= count; });
    return ear_->heard();
}

QStringList ScreenReader::pressable() const {
    QStringList pressable;
    for (const Node& node : showingNodes()) {
        if (pressActionOf(node) >= 0) {
            pressable += node.description;
        }
    }
    return pressable;
}

bool ScreenReader::press(const QString& description) const {
    std::vector<Node> nodes;
    int action = -1;
    // A walk takes many questions, and the tree may change between two of them.
    const bool found = test::waitFor([&] {
        nodes = showingNodes();
        std::erase_if(nodes, [&](const Node& node) { return node.description != description; });
        action = nodes.size() == 1 ? pressActionOf(nodes.front()) : -1;
        return action >= 0;
    });
    if (!found) {
        return false;
    }
    const QDBusMessage reply = call(nodes.front(), kAction, u"DoAction"_s, {action});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    if (!reply.arguments().value(0).toBool()) {
        return false;
    }
    // A button shows for a moment that it is pressed before it does anything.
    return test::waitFor([&] { return !hasState(nodes.front(), kPressed); });
}

#include "ScreenReader.moc"
