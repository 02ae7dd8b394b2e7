#pragma once

#include "tools/qn-portal/check/ConfigPlaces.h"
#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/JsonScan.h"

namespace portal::check {

// Checks every key of the document against those that the installer reads, and the kind of every value.
void checkKeys(Findings& findings, const ConfigPlaces& places, const JsonValue& root);

} // namespace portal::check
