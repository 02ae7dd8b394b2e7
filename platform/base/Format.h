#pragma once

#include "platform/base/Address.h"
#include "platform/base/PlatformException.h"
#include "platform/base/TransportError.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <initializer_list>
#include <optional>
#include <type_traits>
#include <variant>

using namespace Qt::StringLiterals;

// Text of values as macOS's `%@` shows it. Absent is "(null)", empty text is nothing.
//
// Lists and dictionaries come out in the old property-list style, keys sorted, for console lines only.
QString describe(const QVariant& value);
QString describe(const QVariantMap& dictionary);
QString describe(const QStringList& list);

// One value for one placeholder.
class FormatArgument {
public:
    FormatArgument(const QString& text) : value_(text) {}
    FormatArgument(const std::optional<QString>& text) : value_(text.value_or(u"(null)"_s)) {}
    FormatArgument(const char* utf8) : value_(QString::fromUtf8(utf8)) {}
    FormatArgument(const QVariant& value) : value_(describe(value)) {}
    FormatArgument(const QVariantMap& dictionary) : value_(describe(dictionary)) {}
    FormatArgument(const QStringList& list) : value_(describe(list)) {}
    FormatArgument(const Address& address) : value_(address.text) {}
    FormatArgument(const std::optional<Address>& address) : value_(address ? address->text : u"(null)"_s) {}
    FormatArgument(const PlatformException& exception) : value_(exception.description()) {}
    FormatArgument(const TransportError& error) : value_(error.text()) {}
    FormatArgument(double number) : value_(number) {}
    template <typename Integer>
    requires std::is_integral_v<Integer> FormatArgument(Integer number) : value_(static_cast<qint64>(number)) {}

    // `conversion` is the letter of the placeholder: '@', 's', 'd' or 'f'.
    QString text(char conversion) const;

private:
    std::variant<QString, qint64, double> value_;
};

// Fills the placeholders %@, %s, %d, %ld, %f (six decimals, no grouping) and %% of a UTF-8 template, left to right, in
// one pass: a value that itself holds a placeholder is not filled again. A placeholder without a value shows (null).
// Does not know widths, precisions or positions.
QString formatList(const char* utf8Template, std::initializer_list<FormatArgument> arguments);

template <typename... Arguments>
QString formatText(const char* utf8Template, const Arguments&... arguments) {
    return formatList(utf8Template, {FormatArgument(arguments)...});
}
