#pragma once

#include "tools/qn-portal/check/BundleInfo.h"
#include "tools/qn-portal/check/Finding.h"

#include <QStringList>

namespace portal::check {

// Checks the tables of texts. Gives the languages that have one.
QStringList checkTexts(Findings& findings, const BundleInfo& info);

} // namespace portal::check
