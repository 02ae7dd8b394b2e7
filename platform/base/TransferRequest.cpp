#include "platform/base/TransferRequest.h"

using namespace Qt::StringLiterals;

namespace TransferRequest {

bool canBeAskedFor(const Address& address) {
    const QString scheme = address.scheme.value_or(QString()).toLower();
    const bool isHttp = scheme == u"http"_s || scheme == u"https"_s;
    return scheme == u"file"_s || (isHttp && !address.host.value_or(QString()).isEmpty());
}

QByteArray headerText(const QString& text) {
    QByteArray bytes = text.toUtf8();
    bytes.removeIf([](char byte) { return byte == '\r' || byte == '\n' || byte == '\0'; });
    return bytes;
}

} // namespace TransferRequest
