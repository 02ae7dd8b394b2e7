#include "platform/base/PropertyList.h"

#include "base/PropertyListParser.h"

#include <QDateTime>
#include <QTimeZone>

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>

namespace {

struct MemoryDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
using OwnedText = std::unique_ptr<char, MemoryDeleter>;

QVariant toVariant(plist_t node);

QVariant toText(plist_t node, void (*read)(plist_t, char**)) {
    char* bytes = nullptr;
    read(node, &bytes);
    const OwnedText owner(bytes);
    return QString::fromUtf8(bytes);
}

QVariantMap toDictionary(plist_t node) {
    QVariantMap dictionary;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, MemoryDeleter> owner(iterator);
    while (true) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        const OwnedText keyOwner(key);
        if (!value) {
            return dictionary;
        }
        dictionary.insert(QString::fromUtf8(key), toVariant(value));
    }
}

QVariantList toList(plist_t node) {
    QVariantList list;
    for (uint32_t index = 0; index < plist_array_get_size(node); ++index) {
        list += toVariant(plist_array_get_item(node, index));
    }
    return list;
}

QVariant toData(plist_t node) {
    char* bytes = nullptr;
    uint64_t length = 0;
    plist_get_data_val(node, &bytes, &length);
    const OwnedText owner(bytes);
    return QByteArray(bytes, static_cast<qsizetype>(length));
}

QVariant toDate(plist_t node) {
#if PLIST_HAS_UNIX_DATES
    int64_t seconds = 0; // since the start of 1970
    plist_get_unix_date_val(node, &seconds);
    return QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc());
#else
    int32_t seconds = 0; // since the start of 2001
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc()).addSecs(seconds);
#endif
}

// Of an integer whose highest bit is set. Libplist tells only in what it writes.
bool isNegative(plist_t node) {
    const plist_t copy = plist_copy(node);
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(copy, &xml, &length);
    const bool negative = QByteArray::fromRawData(xml, static_cast<qsizetype>(length)).contains("<integer>-");
    std::free(xml);
    plist_free(copy);
    return negative;
}

QVariant toNumber(plist_t node) {
    if (plist_get_node_type(node) == PLIST_REAL) {
        double real = 0;
        plist_get_real_val(node, &real);
        return real;
    }
    uint64_t integer = 0;
    plist_get_uint_val(node, &integer);
    constexpr auto kLargestSigned = static_cast<uint64_t>(std::numeric_limits<qint64>::max());
    if (integer > kLargestSigned && !isNegative(node)) {
        return QVariant::fromValue<quint64>(integer);
    }
    return static_cast<qint64>(integer);
}

QVariant toVariant(plist_t node) {
    uint8_t boolean = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        plist_get_bool_val(node, &boolean);
        return boolean != 0;
    case PLIST_UINT:
    case PLIST_REAL:
        return toNumber(node);
    case PLIST_STRING:
        return toText(node, plist_get_string_val);
    case PLIST_KEY:
        return toText(node, plist_get_key_val);
    case PLIST_ARRAY:
        return toList(node);
    case PLIST_DICT:
        return toDictionary(node);
    case PLIST_DATA:
        return toData(node);
    case PLIST_DATE:
        return toDate(node);
    default:
        return {};
    }
}

} // namespace

namespace PropertyList {

std::optional<QVariant> parse(const QByteArray& bytes) {
    const base::PropertyListNode root =
        base::parsePropertyList({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    const QVariant value = root ? toVariant(root.get()) : QVariant();
    // A binary list may hold kinds of values that no property list in XML can, alone too.
    return value.isValid() ? std::optional(value) : std::nullopt;
}

} // namespace PropertyList
