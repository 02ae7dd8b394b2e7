#include "platform/linux/SessionBus.h"

#include "platform/Bundle.h"
#include "platform/linux/OwnEnvironment.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr std::chrono::seconds kLongestCall(1);

bool isNameCharacter(QChar character) {
    return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z') ||
           (character >= u'0' && character <= u'9') || character == u'_' || character == u'-';
}

QString nameElement(QString text) {
    std::replace_if(
        text.begin(), text.end(), [](QChar character) { return !isNameCharacter(character); }, u'_');
    const bool beginsWell = !text.isEmpty() && !(text[0] >= u'0' && text[0] <= u'9');
    return beginsWell ? text : u'_' + text;
}

// The bus answers in order: when it has told its own identity, the message before has been passed on.
void sendAndSeeTaken(const QDBusMessage& message, const QString& address) {
    const QString name = u"running-copy"_s;
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(address, name);
        if (bus.isConnected() && bus.send(message)) {
            bus.call(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                    u"org.freedesktop.DBus"_s, u"GetId"_s),
                     QDBus::Block, static_cast<int>(std::chrono::milliseconds(kLongestCall).count()));
        }
    }
    QDBusConnection::disconnectFromBus(name);
}

struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
};

} // namespace

std::optional<QString> sessionBusAddress() {
    // Asking the library for its default could start a bus by itself.
    const QString address = QString::fromStdString(inheritedVariable(kBusAddressVariable).value_or(std::string()));
    if (address == QLatin1String(kNoBusAddress)) {
        return std::nullopt;
    }
    if (!address.isEmpty()) {
        return address;
    }
    const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/bus"_s;
    return socket.startsWith(u'/') && socket.size() > 4 && QFileInfo::exists(socket)
               ? std::optional(u"unix:path="_s + socket)
               : std::nullopt;
}

QString busNameFor(const QString& bundleIdentifier) {
    constexpr qsizetype kLongest = 255;
    QStringList elements = bundleIdentifier.split(u'.');
    std::transform(elements.begin(), elements.end(), elements.begin(), nameElement);
    if (elements.size() < 2) {
        elements.prepend(u"application"_s);
    }
    return elements.join(u'.').left(kLongest);
}

QString objectPathFor(const QString& busName) {
    return u'/' + QString(busName).replace(u'.', u'/').replace(u'-', u'_');
}

void callRunningCopy(const QString& method, const QVariantList& arguments) {
    const auto address = sessionBusAddress();
    const auto identifier = Bundle::mainBundle().bundleIdentifier();
    if (!address || !identifier) {
        return;
    }
    const QString name = busNameFor(*identifier);
    QDBusMessage message =
        QDBusMessage::createMethodCall(name, objectPathFor(name), u"org.freedesktop.Application"_s, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    // A bus that takes the connection and then says nothing would hold this thread for half a minute.
    const auto progress = std::make_shared<Progress>();
    try {
        std::thread([message, address = *address, progress] {
            sendAndSeeTaken(message, address);
            const std::lock_guard lock(progress->mutex);
            progress->done = true;
            progress->changed.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        return; // as for a bus that cannot be reached
    }
    std::unique_lock lock(progress->mutex);
    progress->changed.wait_for(lock, kLongestCall, [&progress] { return progress->done; });
}

} // namespace platform
