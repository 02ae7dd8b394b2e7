#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/TlsCheck.h"

#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace portal::check::test {

namespace {

const QDateTime kNow(QDate(2026, 11, 21), QTime(12, 0), QTimeZone::utc());

TlsResult goodResult() {
    TlsFacts facts;
    facts.host = u"www.kit-portal.net"_s;
    facts.names = QStringList{u"www.kit-portal.net"_s};
    facts.subject = u"www.kit-portal.net"_s;
    facts.lastIssuer = u"Root"_s;
    facts.chainLength = 2;
    facts.hasKnownRoot = true;
    facts.isForHost = true;
    facts.validFrom = kNow.addDays(-30);
    facts.validUntil = kNow.addDays(60);
    facts.keyBits = 2048;
    facts.version = u"TLSv1.3"_s;
    return {facts, false};
}

void judge(Findings& findings, const TlsResult& result) {
    static_cast<void>(judgeTls(findings, {u"config.json"_s, 0, 0, {}, {}}, u"www.kit-portal.net"_s, result, kNow));
}

Case with(const char* code, const std::function<void(TlsFacts&)>& change) {
    return {code, [change](Findings& findings) {
                TlsResult result = goodResult();
                change(*result.facts);
                judge(findings, result);
            }};
}

} // namespace

void checkGoodTls(Findings& findings) {
    judge(findings, goodResult());
}

std::vector<Case> tlsCases() {
    return {
        with("tls-untrusted",
             [](TlsFacts& facts) {
                 facts.hasKnownRoot = false;
                 facts.isSelfSigned = true;
                 facts.chainLength = 1;
             }),
        with("tls-missing-intermediate",
             [](TlsFacts& facts) {
                 facts.hasKnownRoot = false;
                 facts.chainLength = 1;
             }),
        with("tls-other-host", [](TlsFacts& facts) { facts.isForHost = false; }),
        with("tls-expired", [](TlsFacts& facts) { facts.validUntil = kNow.addSecs(-1); }),
        with("tls-not-yet", [](TlsFacts& facts) { facts.validFrom = kNow.addDays(1); }),
        with("tls-expires-soon", [](TlsFacts& facts) { facts.validUntil = kNow.addDays(20); }),
        with("tls-old-versions", [](TlsFacts& facts) { facts.oldVersion = u"TLSv1.1"_s; }),
        {"tls-too-old",
         [](Findings& findings) {
             judge(findings, {std::nullopt, true});
         }},
        with("tls-weak-key", [](TlsFacts& facts) { facts.keyBits = 1024; }),
    };
}

} // namespace portal::check::test
