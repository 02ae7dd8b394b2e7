#pragma once

#include "platform/base/Address.h"

#include <QByteArray>

// What is looked at before anybody is asked for an address. Any thread.
namespace TransferRequest {

// Whether it has one of the schemes http, https and file, and for the first two a host. Another one would be -1002.
bool canBeAskedFor(const Address& address);

// A header's name or value in UTF-8, without the line ends and zero bytes that would make another header of its rest.
QByteArray headerText(const QString& text);

} // namespace TransferRequest
