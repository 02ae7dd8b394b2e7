#pragma once

#include "tools/qn-portal/check/Rules.h"

#include <QString>
#include <QStringList>

#include <string_view>
#include <vector>

namespace portal::check {

// Where a finding is. Only `what` is always there.
struct Place {
    QString what;    // a file, an address, an image, a bundle, as the user named it or as it was found
    int line = 0;    // from 1; 0 when lines mean nothing
    int column = 0;  // in characters, from 1
    QString path;    // within the document: "$.software[0].macUrl", "QNConfig.BG_COLOR", "Kit.app/Contents/Info.plist"
    QString excerpt; // the line itself, without its end

    // "config.json:12:7 $.software[0].macUrl"
    QString text() const;
};

struct Finding {
    const Rule* rule = nullptr;
    Place place;
    QStringList details; // for %1, %2, … of the rule's texts

    QString what() const;
    QString userSees() const;
    QString fix() const;
};

// What a check has found so far, in order, each thing once.
class Findings {
public:
    // `code` is one of rules(); throws std::logic_error for any other.
    void add(std::string_view code, const Place& place, const QStringList& details = {});

    const std::vector<Finding>& all() const { return all_; }
    bool has(std::string_view code) const;
    std::size_t count(Severity severity) const;

private:
    std::vector<Finding> all_;
};

} // namespace portal::check
