#include "platform/linux/BusGreeting.h"

#include "base/Descriptor.h"

#include <QByteArray>
#include <QStringList>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kByteOrder = std::endian::native == std::endian::little ? 'l' : 'B';
constexpr qsizetype kLargestMessage = 65536;

enum HeaderField : char { kPath = 1, kInterface = 2, kMember = 3, kReplySerial = 5, kDestination = 6, kSignature = 8 };

// --- Writing messages ---

void align(QByteArray& bytes, qsizetype boundary) {
    bytes.append((boundary - bytes.size() % boundary) % boundary, '\0');
}

void appendNumber(QByteArray& bytes, std::uint32_t number) {
    align(bytes, sizeof number);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void appendText(QByteArray& bytes, const QByteArray& text) {
    appendNumber(bytes, static_cast<std::uint32_t>(text.size()));
    bytes.append(text).append('\0');
}

void appendSignature(QByteArray& bytes, const QByteArray& signature) {
    bytes.append(static_cast<char>(signature.size())).append(signature).append('\0');
}

void appendField(QByteArray& bytes, HeaderField field, const char* type, const QByteArray& value) {
    constexpr qsizetype kStruct = 8;
    align(bytes, kStruct);
    bytes.append(field);
    appendSignature(bytes, type);
    if (field == kSignature) {
        appendSignature(bytes, value);
    } else {
        appendText(bytes, value);
    }
}

struct Call {
    QByteArray destination;
    QByteArray path;
    QByteArray interface;
    QByteArray member;
    QList<QByteArray> texts = {};
};

QByteArray messageOf(const Call& call, std::uint32_t serial) {
    QByteArray body;
    for (const QByteArray& text : call.texts) {
        appendText(body, text);
    }
    QByteArray fields;
    appendField(fields, kPath, "o", call.path);
    appendField(fields, kInterface, "s", call.interface);
    appendField(fields, kMember, "s", call.member);
    appendField(fields, kDestination, "s", call.destination);
    if (!call.texts.isEmpty()) {
        appendField(fields, kSignature, "g", QByteArray(call.texts.size(), 's'));
    }
    constexpr char kMethodCall = 1;
    constexpr char kVersion = 1;
    QByteArray message(1, kByteOrder);
    message.append(kMethodCall).append('\0').append(kVersion);
    appendNumber(message, static_cast<std::uint32_t>(body.size()));
    appendNumber(message, serial);
    appendNumber(message, static_cast<std::uint32_t>(fields.size()));
    message.append(fields);
    constexpr qsizetype kBody = 8;
    align(message, kBody);
    return message + body;
}

// --- Reading messages ---

std::uint32_t numberAt(const QByteArray& bytes, qsizetype at) {
    std::uint32_t number = 0;
    if (at >= 0 && at + static_cast<qsizetype>(sizeof number) <= bytes.size()) {
        std::memcpy(&number, bytes.constData() + at, sizeof number);
    }
    return number;
}

qsizetype aligned(qsizetype at, qsizetype boundary) {
    return (at + boundary - 1) / boundary * boundary;
}

// The serial that a message answers; 0 when it answers none, or is built in a way that no bus builds it.
std::uint32_t answeredSerial(const QByteArray& message, qsizetype endOfFields) {
    constexpr qsizetype kFields = 16;
    for (qsizetype at = kFields; at + 4 <= endOfFields; at = aligned(at, 8)) {
        const char field = message[at];
        const char type = message[at + 2];
        at += 4; // the field, and a signature of one letter
        if (type == 'g') {
            at += static_cast<unsigned char>(message[std::min(at, message.size() - 1)]) + 2;
        } else if (type == 's' || type == 'o') {
            at = aligned(at, 4);
            at += 4 + static_cast<qsizetype>(numberAt(message, at)) + 1;
        } else if (type == 'u') {
            at = aligned(at, 4);
            if (field == kReplySerial) {
                return numberAt(message, at);
            }
            at += 4;
        } else {
            return 0;
        }
    }
    return 0;
}

// One connection to a bus.
class Conversation {
public:
    Conversation(const QByteArray& socketName, std::optional<Clock::time_point> deadline) : deadline_(deadline) {
        sockaddr_un address{};
        if (socketName.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
            return;
        }
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, socketName.constData(), static_cast<std::size_t>(socketName.size()));
        // An abstract name has no end of its own, unlike a path.
        const std::size_t nameLength =
            static_cast<std::size_t>(socketName.size()) + (socketName.startsWith('\0') ? 0 : 1);
        // Connecting waits where the queue of the listener is full.
        socket_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + nameLength);
        isOpen_ = ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), length) == 0;
    }

    // Everything goes out at once: a bus reads one after the other.
    bool greet() {
        const QByteArray user = QByteArray::number(::geteuid()).toHex();
        const Call hello{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello"};
        if (!isOpen_ || !write('\0' + ("AUTH EXTERNAL " + user + "\r\nBEGIN\r\n") + messageOf(hello, ++serial_))) {
            return false;
        }
        while (!received_.contains("\r\n")) {
            if (!read()) {
                return false;
            }
        }
        const bool isWelcome = received_.startsWith("OK ");
        received_.remove(0, received_.indexOf("\r\n") + 2);
        return isWelcome && answerTo(serial_);
    }

    // The body of the answer; absent when none comes.
    std::optional<QByteArray> ask(const Call& call) {
        if (!write(messageOf(call, ++serial_))) {
            return std::nullopt;
        }
        return answerTo(serial_);
    }

private:
    std::optional<QByteArray> answerTo(std::uint32_t serial) {
        while (true) {
            const std::optional<QByteArray> message = nextMessage();
            if (!message) {
                return std::nullopt;
            }
            const qsizetype endOfFields = 16 + static_cast<qsizetype>(numberAt(*message, 12));
            if (answeredSerial(*message, endOfFields) == serial) {
                return message->sliced(std::min(aligned(endOfFields, 8), message->size()));
            }
        }
    }

    std::optional<QByteArray> nextMessage() {
        constexpr qsizetype kFixed = 16;
        while (true) {
            if (received_.size() >= kFixed) {
                const qsizetype size = aligned(kFixed + static_cast<qsizetype>(numberAt(received_, 12)), 8) +
                                       static_cast<qsizetype>(numberAt(received_, 4));
                if (received_[0] != kByteOrder || size > kLargestMessage) {
                    return std::nullopt;
                }
                if (received_.size() >= size) {
                    const QByteArray message = received_.first(size);
                    received_.remove(0, size);
                    return message;
                }
            }
            if (!read()) {
                return std::nullopt;
            }
        }
    }

    bool waitFor(short events) const {
        int limit = -1;
        if (deadline_) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*deadline_ - Clock::now()).count();
            limit = static_cast<int>(std::max<decltype(left)>(left, 0));
        }
        pollfd socket{socket_.get(), events, 0};
        int ready = -1;
        do {
            ready = ::poll(&socket, 1, limit);
        } while (ready < 0 && errno == EINTR);
        return ready > 0;
    }

    bool write(QByteArray bytes) const {
        while (!bytes.isEmpty()) {
            const ssize_t count =
                ::send(socket_.get(), bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
            if (count < 0 && (errno != EAGAIN || !waitFor(POLLOUT))) {
                return false;
            }
            bytes.remove(0, std::max<ssize_t>(count, 0));
        }
        return true;
    }

    bool read() {
        constexpr std::size_t kPiece = 4096;
        std::array<char, kPiece> piece{};
        if (received_.size() > kLargestMessage || !waitFor(POLLIN)) {
            return false;
        }
        const ssize_t count = ::recv(socket_.get(), piece.data(), piece.size(), 0);
        received_.append(piece.data(), std::max<ssize_t>(count, 0));
        return count > 0;
    }

    base::Descriptor socket_;
    bool isOpen_ = false;
    std::optional<Clock::time_point> deadline_;
    std::uint32_t serial_ = 0;
    QByteArray received_;
};

// The socket's name of one address ("unix:path=/run/bus,guid=…"), a NUL first for an abstract one; empty for another
// kind of address.
QByteArray socketNameOf(const QString& address) {
    if (!address.startsWith(u"unix:"_s)) {
        return {};
    }
    for (const QString& pair : address.sliced(5).split(u',')) {
        QByteArray value = QByteArray::fromPercentEncoding(pair.section(u'=', 1).toLocal8Bit());
        if (pair.startsWith(u"path="_s)) {
            return value;
        }
        if (pair.startsWith(u"abstract="_s)) {
            return '\0' + value;
        }
    }
    return {};
}

// Talks to the first of the addresses that welcomes us; false when none does, or the talk says so.
template <typename Talk>
bool converse(const QString& addresses, std::optional<Clock::time_point> deadline, const Talk& talk) {
    for (const QString& address : addresses.split(u';')) {
        const QByteArray name = socketNameOf(address);
        if (name.isEmpty()) {
            continue;
        }
        Conversation bus(name, deadline);
        if (bus.greet()) {
            return talk(bus);
        }
    }
    return false;
}

bool greets(const QString& addresses, std::optional<Clock::time_point> deadline) {
    return converse(addresses, deadline, [](Conversation&) { return true; });
}

bool ownerAnswers(Conversation& bus, Clock::time_point deadline) {
    const auto isKnown = bus.ask(
        {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner", {"org.a11y.Bus"}});
    if (!isKnown) {
        return false;
    }
    if (numberAt(*isKnown, 0) == 0) {
        return true; // no assistive technology: nothing will be waited for
    }
    const auto state = bus.ask({"org.a11y.Bus",
                                "/org/a11y/bus",
                                "org.freedesktop.DBus.Properties",
                                "Get",
                                {"org.a11y.Status", "ScreenReaderEnabled"}});
    const auto address =
        state ? bus.ask({"org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"}) : std::nullopt;
    return address && greets(QString::fromLocal8Bit(address->mid(4, numberAt(*address, 0))), deadline);
}

} // namespace

bool busAnswers(const QString& addresses, std::optional<std::chrono::milliseconds> limit) {
    return greets(addresses, limit ? std::optional(Clock::now() + *limit) : std::nullopt);
}

BusAnswers askBuses(const std::optional<QString>& sessionBus, const QString& accessibilityBus,
                    std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    BusAnswers answers;
    answers.accessibility = accessibilityBus.isEmpty() ? !sessionBus : greets(accessibilityBus, deadline);
    if (!sessionBus) {
        return answers;
    }
    answers.session = converse(*sessionBus, deadline, [&](Conversation& bus) {
        answers.accessibility = accessibilityBus.isEmpty() ? ownerAnswers(bus, deadline) : answers.accessibility;
        return true;
    });
    return answers;
}

} // namespace platform
