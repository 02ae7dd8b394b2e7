#pragma once

#include "tools/qn-portal/check/Finding.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

class QNConfig;

namespace portal::check {

// An address in the document, and where.
struct ConfigAddress {
    QString text;
    Place place;
};

// What a run of the installer would do next. Absent what it would not ask for.
struct ConfigOutcome {
    std::shared_ptr<QNConfig> model; // null when the document is beyond reading
    std::optional<ConfigAddress> image;
    std::optional<ConfigAddress> analytics;
    std::optional<ConfigAddress> link;
};

// Checks a configuration document: its text, its keys and values, and what the installer's own model makes of it. A
// document that the installer refuses is mended in thought, so that all mistakes are told at once. `source` is the
// file or the address that it came from; `mayBeLocal` as for checkAddress().
ConfigOutcome checkConfiguration(Findings& findings, const QByteArray& document, const QString& source,
                                 bool mayBeLocal);

} // namespace portal::check
