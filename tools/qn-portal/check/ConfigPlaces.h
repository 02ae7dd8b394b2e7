#pragma once

#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/JsonScan.h"

#include <utility>

namespace portal::check {

// Makes places in one document.
class ConfigPlaces {
public:
    ConfigPlaces(QString source, QString text) : source_(std::move(source)), text_(std::move(text)) {}

    Place document() const { return {source_, 0, 0, {}, {}}; }

    Place at(qsizetype offset, const QString& path = {}) const {
        const TextPlace found = placeIn(text_, offset);
        return {source_, found.line, found.column, path, found.excerpt};
    }
    Place at(const JsonValue& value, const QString& path) const { return at(value.at, path); }
    Place at(const JsonMember& member, const QString& path) const { return at(member.at, path); }

private:
    QString source_;
    QString text_;
};

} // namespace portal::check
