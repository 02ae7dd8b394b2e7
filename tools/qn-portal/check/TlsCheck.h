#pragma once

#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/TlsProbe.h"

namespace portal::check {

inline constexpr int kSoonDays = 21;

// Judges what probeTls() found. False when the installer would refuse the server. Pure.
bool judgeTls(Findings& findings, const Place& place, const QString& host, const TlsResult& result,
              const QDateTime& now);

} // namespace portal::check
