#include "config/JSONReader.h"
#include "tools/qn-portal/check/JsonScan.h"

#include <QVariantList>
#include <QVariantMap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace portal::check {

const JsonMember* JsonValue::member(QStringView name) const {
    const auto found = std::ranges::find(members, name, &JsonMember::key);
    return found == members.end() ? nullptr : &*found;
}

const JsonValue* JsonValue::value(QStringView name) const {
    const JsonMember* const found = member(name);
    return found == nullptr ? nullptr : &found->value;
}

QVariant variantOf(const JsonValue& value) {
    switch (value.kind) {
    case JsonValue::Kind::kText:
        return value.text;
    case JsonValue::Kind::kList: {
        QVariantList list;
        for (const JsonValue& item : value.items) {
            list.append(variantOf(item));
        }
        return list;
    }
    case JsonValue::Kind::kObject: {
        QVariantMap map;
        for (const JsonMember& member : value.members) {
            if (!map.contains(member.key)) {
                map.insert(member.key, variantOf(member.value));
            }
        }
        return map;
    }
    default:
        return JSONReader::read(value.text.toUtf8()).value.value_or(QVariant());
    }
}

QString describe(const JsonValue& value) {
    switch (value.kind) {
    case JsonValue::Kind::kObject:
        return u"an object"_s;
    case JsonValue::Kind::kList:
        return u"a list"_s;
    case JsonValue::Kind::kText:
        return u"a text"_s;
    case JsonValue::Kind::kNumber:
        return u"the number %1"_s.arg(value.text);
    case JsonValue::Kind::kTruth:
        return u"the truth value %1"_s.arg(value.text);
    case JsonValue::Kind::kNull:
        return u"null"_s;
    }
    return {};
}

TextPlace placeIn(const QString& text, qsizetype at) {
    const qsizetype begin = at <= 0 ? 0 : text.lastIndexOf(u'\n', at - 1) + 1;
    const qsizetype end = text.indexOf(u'\n', begin);
    TextPlace place;
    place.line = static_cast<int>(text.left(begin).count(u'\n')) + 1;
    place.column = static_cast<int>(text.sliced(begin, at - begin).toUcs4().size()) + 1;
    place.excerpt = text.sliced(begin, (end < 0 ? text.size() : end) - begin);
    return place;
}

} // namespace portal::check
