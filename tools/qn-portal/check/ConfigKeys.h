#pragma once

#include "tools/qn-portal/check/ConfigPlaces.h"
#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/JsonScan.h"

#include <QString>

#include <set>

namespace portal::check {

// Checks every key of the document against those that the installer reads, and the kind of every value.
//
// What it tells of is there, but not for the installer: the paths of these values ("$.software[0].appName", and
// "$.software" for an entry's mark) are returned, so that nobody tells that they are missing as well.
std::set<QString> checkKeys(Findings& findings, const ConfigPlaces& places, const JsonValue& root);

} // namespace portal::check
