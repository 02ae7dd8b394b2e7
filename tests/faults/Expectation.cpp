#include "tests/faults/Expectation.h"

#include "tools/faults/FaultyServer.h"

#include <QFile>
#include <QRegularExpression>
#include <QUrl>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace faultsuite {

namespace {

QString contentsOf(const QString& name) {
    QFile file(u"" SUITE_FOLDER "/"_s + name);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("there is no " + file.fileName().toStdString());
    }
    return QString::fromUtf8(file.readAll());
}

constexpr std::array kTargets{faults::Target::kConfiguration, faults::Target::kImage, faults::Target::kAnalytics};

// "download-failed error=-1005 name=Kit.dmg": an ending and what fills its marks.
Expectation expectationOf(const QString& scenario, std::optional<faults::Target> target, const QString& cell) {
    Expectation expectation{scenario, target, {}, {}, false};
    for (const QString& word : cell.simplified().split(u' ')) {
        const qsizetype equals = word.indexOf(u'=');
        if (word == u"(long)"_s) {
            expectation.isLong = true;
        } else if (equals > 0) {
            expectation.values.insert(word.left(equals), QUrl::fromPercentEncoding(word.mid(equals + 1).toUtf8()));
        } else {
            expectation.ending = word;
        }
    }
    return expectation;
}

std::vector<Expectation> readRows() {
    std::vector<Expectation> all;
    for (const QString& line : contentsOf(u"expected.txt"_s).split(u'\n')) {
        if (line.trimmed().isEmpty() || line.startsWith(u'#')) {
            continue;
        }
        const QStringList cells = line.split(u'|');
        const QString scenario = cells.first().trimmed();
        if (cells.size() == 2) {
            all.push_back(expectationOf(scenario, std::nullopt, cells.at(1)));
        } else if (cells.size() == 1 + static_cast<qsizetype>(kTargets.size())) {
            for (std::size_t at = 0; at < kTargets.size(); ++at) {
                all.push_back(expectationOf(scenario, kTargets.at(at), cells.at(static_cast<qsizetype>(at) + 1)));
            }
        } else {
            throw std::runtime_error("a row has one cell, or one for each answer: " + line.toStdString());
        }
    }
    return all;
}

// The sentence of a transport error.
QString sentenceOf(const QString& code) {
    for (const QString& line : contentsOf(u"errors.txt"_s).split(u'\n')) {
        if (line.section(u' ', 0, 0) == code) {
            return line.section(u' ', 1);
        }
    }
    throw std::runtime_error("errors.txt has no " + code.toStdString());
}

} // namespace

const std::vector<Expectation>& expectations() {
    static const std::vector<Expectation> kAll = readRows();
    return kAll;
}

namespace {

// "GET /hop/3..1" is three lines.
QStringList linesOf(const QString& list) {
    static const QRegularExpression kRange(u"^(.*/hop/)(\\d+)\\.\\.(\\d+)(.*)$"_s);
    QStringList lines;
    for (const QString& entry : list.split(u',', Qt::SkipEmptyParts)) {
        const auto range = kRange.match(entry);
        if (!range.hasMatch()) {
            lines += entry;
            continue;
        }
        for (int number = range.captured(2).toInt(); number >= range.captured(3).toInt(); --number) {
            lines += range.captured(1) + QString::number(number) + range.captured(4);
        }
    }
    return lines;
}

// Of the answer that an ending is about.
QString pathOf(const QString& about) {
    if (about == u"configuration"_s) {
        return QString::fromLatin1(faults::kConfigPath);
    }
    return QString::fromLatin1(about == u"image"_s ? faults::kImagePath : faults::kAnalyticsPath);
}

// What the portal gets for the answer that is spoiled: the request itself, and lines before and behind it.
QString requestOf(const QString& ending, const QMap<QString, QString>& values) {
    QString text;
    for (const QString& line : linesOf(values.value(u"before"_s))) {
        text += line + u'\n';
    }
    if (values.value(u"request"_s) != u"none"_s) {
        const QString own = u"requests/"_s + ending.section(u'/', 0, 0) + u".txt"_s;
        text += contentsOf(own)
                    .replace(u"{host}"_s, values.value(u"host"_s, u"PORTAL"_s))
                    .replace(u"{to}"_s, values.value(u"to"_s))
                    .replace(u"{extra}"_s, values.value(u"extra"_s));
    }
    for (const QString& line : linesOf(values.value(u"hops"_s))) {
        text += line + u'\n';
    }
    return text;
}

} // namespace

QString expectedAccount(const Expectation& expectation) {
    QString account = contentsOf(u"endings/"_s + expectation.ending + u".txt"_s);
    QMap<QString, QString> values{
        {u"base"_s, u"http://PORTAL"_s}, {u"portal"_s, u"PORTAL"_s}, {u"name"_s, u"Installer.dmg"_s}};
    values.insert(expectation.values);
    if (!values.contains(u"at"_s)) {
        values.insert(u"at"_s, values.value(u"base"_s) + pathOf(expectation.ending.section(u'/', 0, 0)));
    }
    values.insert(u"request"_s, requestOf(expectation.ending, expectation.values));
    if (values.contains(u"error"_s)) {
        values.insert(u"sentence"_s, sentenceOf(values.value(u"error"_s)));
    }
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        account.replace(u'{' + value.key() + u'}', value.value());
    }
    static const QRegularExpression kOpenMark(u"\\{[a-z]+\\}"_s);
    if (const auto open = kOpenMark.match(account); open.hasMatch()) {
        throw std::runtime_error(expectation.scenario.toStdString() + " does not say " + open.captured().toStdString());
    }
    return account;
}

QStringList expectedScreen(const QString& account) {
    return account.section(u"--- screen\n"_s, 1).section(u"--- "_s, 0, 0).split(u'\n', Qt::SkipEmptyParts);
}

} // namespace faultsuite
