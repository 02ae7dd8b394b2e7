#include "tools/qn-portal/screens/BrandedBundle.h"

#include "platform/base/PropertyList.h"
#include "platform/base/StringsTable.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QXmlStreamWriter>

#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace portal::screens {

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
    if (!QFile::exists(table)) {
        throw std::runtime_error((brandTable + u": the installer does not speak this language"_s).toStdString());
    }
    const auto ours = StringsTable::parse(contentsOf(table));
    const auto theirs = StringsTable::parse(contentsOf(brandTable));
    if (!ours || !theirs) {
        throw std::runtime_error((brandTable + u" cannot be read as a table of texts"_s).toStdString());
    }
    StringsTable::Table texts = *ours;
    for (auto text = theirs->cbegin(); text != theirs->cend(); ++text) {
        if (!texts.contains(text.key())) {
            throw std::runtime_error(
                (brandTable + u": \"%1\": the installer has no such text"_s.arg(text.key())).toStdString());
        }
        texts.insert(text.key(), text.value());
    }
    QString all;
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        all += u"%1 = %2;\n"_s.arg(quoted(text.key()), quoted(text.value()));
    }
    write(table, all.toUtf8());
}

// At the three scales, as the build makes ours.
void putPicture(const QString& picture, const QString& resources) {
    const QString name = QFileInfo(picture).completeBaseName();
    if (QFileInfo(picture).suffix() != u"svg" || !QFile::exists(resources + name + u".png"_s)) {
        throw std::runtime_error((picture + u": the installer has no such picture"_s).toStdString());
    }
    for (const auto& [zoom, ending] : {std::pair(u"1"_s, u".png"_s), {u"2"_s, u"@2x.png"_s}, {u"3"_s, u"@3x.png"_s}}) {
        QProcess painter;
        painter.start(u"rsvg-convert"_s, {u"--zoom"_s, zoom, u"--output"_s, resources + name + ending, picture});
        if (!painter.waitForFinished() || painter.exitStatus() != QProcess::NormalExit || painter.exitCode() != 0) {
            const QString said = QString::fromUtf8(painter.readAllStandardError()).trimmed();
            throw std::runtime_error(
                u"%1: %2"_s.arg(picture, said.isEmpty() ? u"rsvg-convert: "_s + painter.errorString() : said)
                    .toStdString());
        }
    }
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
    bundle.insert(u"CFBundleName"_s, settings.value(u"kAPP_NAME"_s).toString() + u" Installer"_s);
    QVariantList types = bundle.value(u"CFBundleURLTypes"_s).toList();
    if (!types.isEmpty()) {
        QVariantMap first = types.first().toMap();
        first.insert(u"CFBundleURLName"_s, bundle.value(u"CFBundleIdentifier"_s));
        first.insert(u"CFBundleURLSchemes"_s, QVariantList{settings.value(u"QNPortalType"_s).toString() + u'd'});
        types.first() = first;
        bundle.insert(u"CFBundleURLTypes"_s, types);
    }
    return bundle;
}

void putBrand(const QString& brand, const QString& bundle) {
    const QString info = bundle + u"/Contents/Info.plist"_s;
    write(info, propertyListText(branded(listIn(info), listIn(brand + u"/Info.plist"_s))));
    const QString resources = bundle + u"/Contents/Resources/"_s;
    for (const QString& folder : QDir(brand).entryList({u"*.lproj"_s}, QDir::Dirs, QDir::Name)) {
        const QString name = folder + u"/Localizable.strings"_s;
        if (QFile::exists(brand + u'/' + name)) {
            putTexts(brand + u'/' + name, resources + name);
        }
    }
    const QDir pictures(brand + u"/images"_s);
    for (const QString& name : pictures.entryList(QDir::Files, QDir::Name)) {
        putPicture(pictures.filePath(name), resources);
    }
    const QDir fonts(brand + u"/fonts"_s);
    for (const QString& name : fonts.entryList(QDir::Files, QDir::Name)) {
        QDir(resources).mkpath(u"Fonts"_s);
        write(resources + u"Fonts/"_s + name, contentsOf(fonts.filePath(name)));
    }
}

} // namespace portal::screens
