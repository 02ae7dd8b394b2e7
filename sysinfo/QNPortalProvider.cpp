#include "sysinfo/QNPortalProvider.h"

#include "platform/Console.h"
#include "platform/Folders.h"
#include "platform/base/Format.h"
#include "platform/base/Slot.h"
#include "sysinfo/Identifier.h"
#include "sysinfo/QNSystemInfo.h"

namespace {

Slot<QString>& identifierSlot() {
    static Slot<QString> slot;
    return slot;
}

QString identifierOfThisUser() {
    const auto address = QNSystemInfo::getMacAddress();
    const QString home = platform::homeDirectory();
    platform::consoleLog(formatText("Home directory is %@", home));
    platform::consoleLog(formatText("MAC Address %@", address));
    return Identifier::derived(address, home);
}

} // namespace

std::optional<QString> QNPortalProvider::getCi() {
    if (auto kept = identifierSlot().value()) {
        return kept;
    }
    if (!Identifier::isBeingDerived()) {
        createCi();
    }
    return identifierSlot().value();
}

void QNPortalProvider::createCi() {
    if (const auto identifier = Identifier::attempt(identifierOfThisUser)) {
        identifierSlot().store(*identifier);
    }
}

QString hexadecimalString(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toHex());
}
