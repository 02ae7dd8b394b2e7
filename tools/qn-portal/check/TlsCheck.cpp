#include "tools/qn-portal/check/TlsCheck.h"

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr int kLeastRsaBits = 2048;
constexpr int kLeastEllipticBits = 224;

bool judgeChain(Findings& findings, const Place& place, const TlsFacts& facts) {
    if (facts.hasKnownRoot) {
        return true;
    }
    // A certificate of somebody else's making that comes alone lacks the one above it; whether that one is known cannot
    // be told from here.
    if (!facts.isSelfSigned && facts.chainLength == 1) {
        findings.add("tls-missing-intermediate", place, {facts.host, facts.lastIssuer});
    } else {
        findings.add("tls-untrusted", place, {facts.host, facts.distrust});
    }
    return false;
}

bool judgeDates(Findings& findings, const Place& place, const TlsFacts& facts, const QDateTime& now) {
    if (now < facts.validFrom) {
        findings.add("tls-not-yet", place, {facts.host, facts.validFrom.date().toString(Qt::ISODate)});
        return false;
    }
    if (now > facts.validUntil) {
        findings.add("tls-expired", place, {facts.host, facts.validUntil.date().toString(Qt::ISODate)});
        return false;
    }
    const qint64 days = now.daysTo(facts.validUntil);
    if (days < kSoonDays) {
        findings.add("tls-expires-soon", place, {facts.host, QString::number(days)});
    }
    return true;
}

} // namespace

bool judgeTls(Findings& findings, const Place& place, const QString& host, const TlsResult& result,
              const QDateTime& now) {
    if (result.isTooOld) {
        findings.add("tls-too-old", place, {host});
        return false;
    }
    if (!result.facts) {
        return true; // the transfer tells
    }
    const TlsFacts& facts = *result.facts;
    bool isGood = judgeChain(findings, place, facts);
    if (!facts.isForHost) {
        findings.add("tls-other-host", place, {facts.host, facts.names.join(u", "_s)});
        isGood = false;
    }
    isGood = judgeDates(findings, place, facts, now) && isGood;
    if (!facts.oldVersion.isEmpty()) {
        findings.add("tls-old-versions", place, {facts.host, facts.oldVersion});
    }
    if (facts.keyBits < (facts.isEllipticKey ? kLeastEllipticBits : kLeastRsaBits)) {
        findings.add("tls-weak-key", place, {facts.host, QString::number(facts.keyBits)});
    }
    return isGood;
}

} // namespace portal::check
