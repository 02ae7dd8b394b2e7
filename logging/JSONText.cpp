#include "logging/JSONText.h"

#include "platform/Console.h"

#include <QVariantList>

#include <nlohmann/json.hpp>

#include <cmath>
#include <stdexcept>
#include <string>

using namespace Qt::StringLiterals;

namespace {

using Json = nlohmann::json;

constexpr int kDeepestNesting = 512;

// Stays inside this file: an unrepresentable value ends the conversion wherever it lies.
class Unrepresentable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string utf8(const QString& text) {
    if (!text.isValidUtf16()) {
        throw Unrepresentable("A text holds half of a surrogate pair.");
    }
    return text.toStdString();
}

Json numberValue(double number) {
    if (!std::isfinite(number)) {
        throw Unrepresentable("A number is not finite.");
    }
    constexpr double kWholeLimit = 9007199254740992.0; // above it not every whole number is a double
    if (std::trunc(number) == number && std::abs(number) < kWholeLimit) {
        return static_cast<std::int64_t>(number);
    }
    return number;
}

// `level` counts the containers around the value.
Json jsonValue(const QVariant& value, int level);

void checkLevel(int level) {
    if (level > kDeepestNesting) {
        throw Unrepresentable("The dictionary nests too deeply.");
    }
}

Json listValue(const QVariantList& list, int level) {
    checkLevel(level);
    Json result = Json::array();
    for (const QVariant& item : list) {
        result.push_back(jsonValue(item, level));
    }
    return result;
}

Json dictionaryValue(const QVariantMap& dictionary, int level) {
    checkLevel(level);
    Json result = Json::object();
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry) {
        result[utf8(entry.key())] = jsonValue(entry.value(), level);
    }
    return result;
}

Json jsonValue(const QVariant& value, int level) {
    switch (value.typeId()) {
    case QMetaType::QString:
        return utf8(value.toString());
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
        return value.toLongLong();
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
        return value.toULongLong();
    case QMetaType::Double:
        return numberValue(value.toDouble());
    case QMetaType::Float:
        return numberValue(static_cast<double>(value.toFloat()));
    case QMetaType::Nullptr:
        return nullptr;
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return listValue(value.toList(), level + 1);
    case QMetaType::QVariantMap:
        return dictionaryValue(value.toMap(), level + 1);
    default:
        throw Unrepresentable("A value has no form in JSON.");
    }
}

} // namespace

QString jsonStringWithPrettyPrint(const QVariantMap& dictionary, bool prettyPrint) {
    try {
        return QString::fromStdString(dictionaryValue(dictionary, 1).dump(prettyPrint ? 2 : -1));
    } catch (const Unrepresentable& error) {
        platform::consoleLog(u"zk_jsonStringWithPrettyPrint: error: "_s + QString::fromUtf8(error.what()));
        return u"{}"_s;
    }
}
