#include "tools/qn-portal/check/CheckOutput.h"

#include <QBuffer>
#include <QXmlStreamWriter>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr qsizetype kWidth = 100; // columns of a code line that are shown

std::string_view colorOf(Severity severity) {
    switch (severity) {
    case Severity::kError:
        return "\033[1;31m";
    case Severity::kWarning:
        return "\033[1;33m";
    case Severity::kNote:
        return "\033[1;36m";
    }
    return {};
}

QString text(std::string_view view) {
    return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

// The line, and a caret below the column. A long line is shown around it.
QString picture(const Place& place) {
    if (place.excerpt.trimmed().isEmpty()) {
        return {};
    }
    QString line = place.excerpt;
    qsizetype column = std::max(place.column - 1, 0);
    if (line.size() > kWidth) {
        const qsizetype begin = std::clamp<qsizetype>(column - kWidth / 2, 0, line.size() - kWidth);
        line = line.mid(begin, kWidth);
        column -= begin;
    }
    line.replace(u'\t', u' ');
    std::ranges::replace_if(
        line, [](QChar unit) { return unit < u' '; }, QChar(u'\uFFFD'));
    const QString number = QString::number(place.line);
    return u"  %1 | %2\n  %3 | %4^\n"_s.arg(number, line, QString(number.size(), u' '), QString(column, u' '));
}

QString counted(std::size_t count, const QString& word) {
    return u"%1 %2%3"_s.arg(count).arg(word, count == 1 ? QString() : u"s"_s);
}

void writeCase(QXmlStreamWriter& xml, const Rule& rule, const CheckReport& report, bool isStrict) {
    xml.writeStartElement(u"testcase"_s);
    xml.writeAttribute(u"classname"_s, u"qn-portal.check"_s);
    xml.writeAttribute(u"name"_s, text(rule.code));
    for (const Finding& finding : report.findings.all()) {
        if (finding.rule != &rule) {
            continue;
        }
        const bool isFailure = rule.severity == Severity::kError || isStrict;
        xml.writeStartElement(isFailure ? u"failure"_s : u"system-out"_s);
        if (isFailure) {
            xml.writeAttribute(u"type"_s, text(nameOf(rule.severity)));
            xml.writeAttribute(u"message"_s, finding.what());
        }
        xml.writeCharacters(
            u"%1\n%2\n%3\n%4"_s.arg(finding.place.text(), finding.what(), finding.userSees(), finding.fix()));
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

} // namespace

std::string textOutput(const CheckReport& report, bool inColor) {
    std::ostringstream out;
    for (const Finding& finding : report.findings.all()) {
        const std::string_view name = nameOf(finding.rule->severity);
        out << (inColor ? colorOf(finding.rule->severity) : "") << name << (inColor ? "\033[0m" : "") << ": "
            << finding.what().toStdString() << " [" << finding.rule->code << "]\n"
            << "  " << finding.place.text().toStdString() << '\n'
            << picture(finding.place).toStdString() << "  The user sees: " << finding.userSees().toStdString() << '\n'
            << "  Mend it: " << finding.fix().toStdString() << "\n\n";
    }
    const Findings& findings = report.findings;
    out << QStringList{counted(findings.count(Severity::kError), u"error"_s),
                       counted(findings.count(Severity::kWarning), u"warning"_s),
                       counted(findings.count(Severity::kNote), u"note"_s)}
               .join(u", "_s)
               .toStdString()
        << "; " << counted(static_cast<std::size_t>(report.checked), u"thing"_s).toStdString() << " checked.\n";
    return out.str();
}

std::string jsonOutput(const CheckReport& report) {
    nlohmann::ordered_json findings = nlohmann::ordered_json::array();
    for (const Finding& finding : report.findings.all()) {
        findings.push_back({{"code", finding.rule->code},
                            {"severity", nameOf(finding.rule->severity)},
                            {"where", finding.place.text().toStdString()},
                            {"what", finding.what().toStdString()},
                            {"user_sees", finding.userSees().toStdString()},
                            {"fix", finding.fix().toStdString()}});
    }
    const nlohmann::ordered_json object{{"findings", findings}, {"checked", report.checked}};
    return object.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

std::string ruleTable() {
    std::ostringstream out;
    out << "| Code | Severity | What | The user sees | Mend it |\n|---|---|---|---|---|\n";
    for (const Rule* const rule : rules()) {
        // What depends on the address's use stands in the text above the table.
        const std::string_view sees = rule->userSees == "%9" ? "depends on what the address is for" : rule->userSees;
        out << "| `" << rule->code << "` | " << nameOf(rule->severity) << " | " << rule->what << " | " << sees << " | "
            << rule->fix << " |\n";
    }
    return out.str();
}

std::string junitOutput(const CheckReport& report, bool isStrict) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter xml(&buffer);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(u"testsuite"_s);
    xml.writeAttribute(u"name"_s, u"qn-portal check"_s);
    xml.writeAttribute(u"tests"_s, QString::number(rules().size()));
    std::size_t failures = 0;
    for (const Rule* const rule : rules()) {
        const bool counts = rule->severity == Severity::kError || isStrict;
        failures += counts && report.findings.has(rule->code) ? 1 : 0;
    }
    xml.writeAttribute(u"failures"_s, QString::number(failures));
    for (const Rule* const rule : rules()) {
        writeCase(xml, *rule, report, isStrict);
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    return buffer.data().toStdString();
}

} // namespace portal::check
