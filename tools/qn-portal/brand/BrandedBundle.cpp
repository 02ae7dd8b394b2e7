#include "tools/qn-portal/brand/BrandedBundle.h"

#include "platform/base/PropertyList.h"
#include "platform/base/StringsTable.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QXmlStreamWriter>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace portal::brand {

namespace {

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error((path + u" cannot be read: "_s + file.errorString()).toStdString());
    }
    return file.readAll();
}

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        throw std::runtime_error((path + u" cannot be written: "_s + file.errorString()).toStdString());
    }
}

QVariantMap listIn(const QString& path) {
    const auto list = PropertyList::parse(contentsOf(path));
    if (!list || list->typeId() != QMetaType::QVariantMap) {
        throw std::runtime_error((path + u" is no property list"_s).toStdString());
    }
    return list->toMap();
}

void writeValue(QXmlStreamWriter& xml, const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        xml.writeStartElement(u"dict"_s);
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            xml.writeTextElement(u"key"_s, entry.key());
            writeValue(xml, entry.value());
        }
        xml.writeEndElement();
        return;
    }
    case QMetaType::QVariantList:
        xml.writeStartElement(u"array"_s);
        for (const QVariant& item : value.toList()) {
            writeValue(xml, item);
        }
        xml.writeEndElement();
        return;
    case QMetaType::Bool:
        xml.writeEmptyElement(value.toBool() ? u"true"_s : u"false"_s);
        return;
    case QMetaType::LongLong:
        xml.writeTextElement(u"integer"_s, value.toString());
        return;
    default:
        xml.writeTextElement(u"string"_s, value.toString());
    }
}

QString quoted(QString text) {
    return u'"' + text.replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s).replace(u'\n', u"\\n"_s) + u'"';
}

// The brand's texts, and ours where it has none.
void putTexts(const QString& brandTable, const QString& table) {
    const auto ours = StringsTable::parse(contentsOf(table));
    const auto theirs = StringsTable::parse(contentsOf(brandTable));
    if (!ours || !theirs) {
        throw std::runtime_error((brandTable + u" cannot be read as a table of texts"_s).toStdString());
    }
    StringsTable::Table texts = *ours;
    texts.insert(*theirs);
    QString all;
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        all += u"%1 = %2;\n"_s.arg(quoted(text.key()), quoted(text.value()));
    }
    write(table, all.toUtf8());
}

} // namespace

QByteArray propertyListText(const QVariantMap& list) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter xml(&buffer);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(u"plist"_s);
    xml.writeAttribute(u"version"_s, u"1.0"_s);
    writeValue(xml, list);
    xml.writeEndElement();
    xml.writeEndDocument();
    return buffer.data();
}

QVariantMap branded(QVariantMap bundle, const QVariantMap& brand) {
    QVariantMap settings = bundle.value(u"QNConfig"_s).toMap();
    settings.insert(brand.value(u"QNConfig"_s).toMap());
    bundle.insert(brand);
    bundle.insert(u"QNConfig"_s, settings);
    return bundle;
}

void putBrand(const QString& brand, const QString& bundle) {
    const QString info = bundle + u"/Contents/Info.plist"_s;
    write(info, propertyListText(branded(listIn(info), listIn(brand + u"/Info.plist"_s))));
    const QString resources = bundle + u"/Contents/Resources/"_s;
    for (const QString& folder : QDir(brand).entryList({u"*.lproj"_s}, QDir::Dirs)) {
        const QString name = folder + u"/Localizable.strings"_s;
        if (QFile::exists(brand + u'/' + name) && QFile::exists(resources + name)) {
            putTexts(brand + u'/' + name, resources + name);
        }
    }
    const QDir pictures(brand + u"/images"_s);
    for (const QString& name : pictures.entryList({u"*.png"_s}, QDir::Files)) {
        write(resources + name, contentsOf(pictures.filePath(name)));
    }
}

} // namespace portal::brand
