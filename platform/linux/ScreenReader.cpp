#include "platform/ScreenReader.h"

#include <QAccessible>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

// The name that Qt gives its connection to the accessibility bus, and where it puts its objects there. Its own event
// for this is younger than the Qt that we must run with.
const QString kConnection = u"a11y"_s;
const QString kObjects = u"/org/a11y/atspi/accessible/"_s;

constexpr int kPolite = 1; // ATSPI_LIVE_POLITE: after what is being said

// Older readers never ask for announcements, and would say nothing at all. An unknown answer counts as a newer one.
bool knowsAnnouncements(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"a(ss)"_s) {
        return true;
    }
    const auto wishes = answer.arguments().constFirst().value<QDBusArgument>();
    bool known = false;
    wishes.beginArray();
    while (!wishes.atEnd()) {
        QString reader;
        QString event;
        wishes.beginStructure();
        wishes >> reader >> event;
        wishes.endStructure();
        known = known || event.contains(u"announcement"_s, Qt::CaseInsensitive);
    }
    wishes.endArray();
    return known;
}

// The text as an announcement, or the object as what has the keyboard now: then its name and description are read.
void tell(const QString& object, const QString& text, bool asAnnouncement) {
    QDBusMessage signal = QDBusMessage::createSignal(object, u"org.a11y.atspi.Event.Object"_s,
                                                     asAnnouncement ? u"Announcement"_s : u"StateChanged"_s);
    if (asAnnouncement) {
        signal.setArguments({QString(), kPolite, 0, QVariant::fromValue(QDBusVariant(text)), QVariantMap()});
    } else {
        signal.setArguments({u"focused"_s, 1, 0, QVariant::fromValue(QDBusVariant(0)), QVariantMap()});
    }
    static_cast<void>(QDBusConnection(kConnection).send(signal));
}

} // namespace

void announce(QAccessibleInterface& about, const QString& text) {
    const QDBusConnection bus(kConnection);
    if (!bus.isConnected()) {
        return;
    }
    const QString object = kObjects + QString::number(QAccessible::uniqueId(&about));
    const QDBusMessage question =
        QDBusMessage::createMethodCall(u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/registry"_s,
                                       u"org.a11y.atspi.Registry"_s, u"GetRegisteredEvents"_s);
    auto* const answer = new QDBusPendingCallWatcher(bus.asyncCall(question));
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, object, text] {
        tell(object, text, knowsAnnouncements(answer->reply()));
        answer->deleteLater();
    });
}

} // namespace platform
