#include "tools/qn-portal/check/Finding.h"

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

// In one pass: a detail may itself hold "%1".
QString filled(std::string_view pattern, const QStringList& details) {
    const QString text = QString::fromUtf8(pattern.data(), static_cast<qsizetype>(pattern.size()));
    QString result;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool isHole = text[at] == u'%' && at + 1 < text.size() && text[at + 1].isDigit();
        if (!isHole) {
            result += text[at];
            continue;
        }
        ++at;
        result += details.value(text[at].digitValue() - 1);
    }
    return result;
}

} // namespace

QString Place::text() const {
    QString text = what;
    if (line > 0) {
        text += u":%1:%2"_s.arg(line).arg(column);
    }
    return path.isEmpty() ? text : text + u' ' + path;
}

QString Finding::what() const {
    return filled(rule->what, details);
}

QString Finding::userSees() const {
    return filled(rule->userSees, details);
}

QString Finding::fix() const {
    return filled(rule->fix, details);
}

void Findings::add(std::string_view code, const Place& place, const QStringList& details) {
    const Rule* const rule = ruleCalled(code);
    if (rule == nullptr) {
        throw std::logic_error("no rule is called " + std::string(code));
    }
    const bool isKnown = std::ranges::any_of(all_, [&](const Finding& finding) {
        return finding.rule == rule && finding.place.text() == place.text() && finding.details == details;
    });
    if (!isKnown) {
        all_.push_back({rule, place, details});
    }
}

bool Findings::has(std::string_view code) const {
    return std::ranges::any_of(all_, [&](const Finding& finding) { return finding.rule->code == code; });
}

std::size_t Findings::count(Severity severity) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(all_, [&](const Finding& finding) { return finding.rule->severity == severity; }));
}

} // namespace portal::check
