#include "platform/base/Format.h"

#include <QMetaType>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

const QString kAbsent = u"(null)"_s;

bool isPlainWord(const QString& text) {
    if (text.isEmpty()) {
        return false;
    }
    for (const QChar unit : text) {
        const bool plain =
            (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
        if (!plain) {
            return false;
        }
    }
    return true;
}

// A text inside a list or dictionary: quoted unless it is one plain word, non-ASCII units as \Uxxxx.
QString quotedWhereNeeded(const QString& text) {
    if (isPlainWord(text)) {
        return text;
    }
    QString quoted = u"\""_s;
    for (const QChar unit : text) {
        if (unit == u'"' || unit == u'\\') {
            quoted += u'\\';
        }
        if (unit == u'\n') {
            quoted += u"\\n"_s;
        } else if (unit.unicode() < 0x80) {
            quoted += unit;
        } else {
            quoted += u"\\U%1"_s.arg(uint{unit.unicode()}, 4, 16, QLatin1Char('0'));
        }
    }
    return quoted + u'"';
}

QString describeNested(const QVariant& value, qsizetype depth);

QString describeDictionary(const QVariantMap& dictionary, qsizetype depth) {
    const QString indent(4 * depth, u' ');
    QString text = u"{\n"_s;
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry) {
        text += indent + u"    "_s + quotedWhereNeeded(entry.key()) + u" = "_s +
                describeNested(entry.value(), depth + 1) + u";\n"_s;
    }
    return text + indent + u'}';
}

template <typename List>
QString describeList(const List& list, qsizetype depth) {
    const QString indent(4 * depth, u' ');
    QStringList items;
    for (const auto& item : list) {
        items += indent + u"    "_s + describeNested(item, depth + 1);
    }
    const QString body = items.isEmpty() ? QString() : items.join(u",\n"_s) + u'\n';
    return u"(\n"_s + body + indent + u')';
}

QString describeScalar(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return kAbsent;
    case QMetaType::Nullptr:
        return u"<null>"_s;
    case QMetaType::Bool:
        return value.toBool() ? u"1"_s : u"0"_s;
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 16);
    case QMetaType::Float:
        return QString::number(static_cast<double>(value.toFloat()), 'g', 7);
    default:
        return value.toString();
    }
}

QString describeNested(const QVariant& value, qsizetype depth) {
    switch (value.typeId()) {
    case QMetaType::QVariantMap:
        return describeDictionary(value.toMap(), depth);
    case QMetaType::QVariantList:
        return describeList(value.toList(), depth);
    case QMetaType::QStringList:
        return describeList(value.toStringList(), depth);
    default:
        return depth == 0 ? describeScalar(value) : quotedWhereNeeded(describeScalar(value));
    }
}

} // namespace

QString describe(const QVariant& value) {
    return describeNested(value, 0);
}

QString describe(const QVariantMap& dictionary) {
    return describeDictionary(dictionary, 0);
}

QString describe(const QStringList& list) {
    return describeList(list, 0);
}

namespace {

// Toward zero; what a whole number cannot hold is the nearest one that it can, and what is no number is zero.
qint64 wholeNumber(double number) {
    constexpr double kBeyond = 9223372036854775808.0;
    if (std::isnan(number)) {
        return 0;
    }
    if (number >= kBeyond) {
        return std::numeric_limits<qint64>::max();
    }
    return number < -kBeyond ? std::numeric_limits<qint64>::min() : static_cast<qint64>(number);
}

} // namespace

QString FormatArgument::text(char conversion) const {
    if (const auto* text = std::get_if<QString>(&value_)) {
        return *text;
    }
    if (const auto* integer = std::get_if<qint64>(&value_)) {
        return conversion == 'f' ? QString::number(static_cast<double>(*integer), 'f', 6) : QString::number(*integer);
    }
    const double number = std::get<double>(value_);
    if (conversion == 'f') {
        return QString::number(number, 'f', 6);
    }
    return conversion == 'd' ? QString::number(wholeNumber(number)) : QString::number(number, 'g', 16);
}

QString formatList(const char* utf8Template, std::initializer_list<FormatArgument> arguments) {
    const QString pattern = QString::fromUtf8(utf8Template);
    const auto* next = arguments.begin();
    QString filled;
    for (qsizetype at = 0; at < pattern.size(); ++at) {
        if (pattern[at] != u'%' || at + 1 == pattern.size()) {
            filled += pattern[at];
            continue;
        }
        ++at;
        if (pattern[at] == u'%') {
            filled += u'%';
            continue;
        }
        if (pattern[at] == u'l' && at + 1 < pattern.size()) {
            ++at;
        }
        filled += next == arguments.end() ? kAbsent : (next++)->text(pattern[at].toLatin1());
    }
    return filled;
}
