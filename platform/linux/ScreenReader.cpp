#include "platform/ScreenReader.h"

#include <QAccessible>
#include <QDBusConnection>
#include <QDBusMessage>
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

} // namespace

void announce(QAccessibleInterface& about, const QString& text) {
    const QDBusConnection bus(kConnection);
    if (!bus.isConnected()) {
        return;
    }
    QDBusMessage signal = QDBusMessage::createSignal(kObjects + QString::number(QAccessible::uniqueId(&about)),
                                                     u"org.a11y.atspi.Event.Object"_s, u"Announcement"_s);
    signal.setArguments({QString(), kPolite, 0, QVariant::fromValue(QDBusVariant(text)), QVariantMap()});
    static_cast<void>(bus.send(signal));
}

} // namespace platform
