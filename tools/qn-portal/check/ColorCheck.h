#pragma once

#include "platform/base/Color.h"
#include "tools/qn-portal/check/BundleInfo.h"
#include "tools/qn-portal/check/Finding.h"

namespace portal::check {

// Contrast of two colours, 1 to 21 (W3C, Web Content Accessibility Guidelines 2.1, "contrast ratio").
double contrast(const Color& one, const Color& other);

// Checks the colours of the settings, as they are read and against what they are painted on.
void checkColors(Findings& findings, const BundleInfo& info, const QVariantMap& settings);

} // namespace portal::check
