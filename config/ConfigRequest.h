#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QNConfig;

// The decisions of the configuration request, apart from its effects.
namespace ConfigRequest {

// The first argument behind the program's path, when it is an address with a scheme and a host; the text as given.
std::optional<QString> overridingAddress(const QStringList& arguments);

// Whether a model can be used: what is to be installed must be a disk image. Judges the extension of the address's
// text, so a query counts; a missing address passes, since that is for the flow to reject.
bool hasUsableFormat(const QNConfig& config);

struct Reading {
    std::shared_ptr<QNConfig> model; // null when the document is no JSON or no object
    QString failure;                 // then a sentence for people
};

// Parses the document and builds the model.
Reading read(const QByteArray& document);

} // namespace ConfigRequest
