#include "config/ConfigRequest.h"

#include "config/JSONReader.h"
#include "config/QNConfig.h"
#include "platform/base/Address.h"
#include "platform/base/PathText.h"

using namespace Qt::StringLiterals;

namespace ConfigRequest {

std::optional<QString> overridingAddress(const QStringList& arguments) {
    if (arguments.size() < 2) {
        return std::nullopt;
    }
    const auto address = Address::parse(arguments[1]);
    const bool isAbsolute = address && address->scheme && address->host;
    return isAbsolute ? std::optional(arguments[1]) : std::nullopt;
}

bool hasUsableFormat(const QNConfig& config) {
    if (config.defaultAction() != u"install"_s || !config.latestMacURL()) {
        return true;
    }
    const QString extension = PathText::pathExtension(*config.latestMacURL());
    return extension.compare(u"dmg"_s, Qt::CaseInsensitive) == 0;
}

Reading read(const QByteArray& document) {
    const auto [value, failure] = JSONReader::read(document);
    if (!value) {
        return {nullptr, failure.value_or(QString())};
    }
    if (value->typeId() != QMetaType::QVariantMap) {
        return {nullptr, u"The document is no JSON object."_s};
    }
    return {std::make_shared<QNConfig>(value->toMap()), {}};
}

} // namespace ConfigRequest
