#include "tests/support/TestEnvironment.h"

#include "platform/base/PropertyList.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>
#include <QXmlStreamWriter>

#include <gtest/gtest.h>

#include <unistd.h>

#include <deque>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace test {

namespace {

void writeValue(QXmlStreamWriter& xml, const QVariant& value) {
    if (value.typeId() == QMetaType::QVariantMap) {
        xml.writeStartElement(u"dict"_s);
        const QVariantMap dictionary = value.toMap();
        for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry) {
            xml.writeTextElement(u"key"_s, entry.key());
            writeValue(xml, entry.value());
        }
        xml.writeEndElement();
    } else if (value.typeId() == QMetaType::QVariantList) {
        xml.writeStartElement(u"array"_s);
        for (const QVariant& item : value.toList()) {
            writeValue(xml, item);
        }
        xml.writeEndElement();
    } else if (value.typeId() == QMetaType::Bool) {
        xml.writeEmptyElement(value.toBool() ? u"true"_s : u"false"_s);
    } else if (value.typeId() == QMetaType::LongLong || value.typeId() == QMetaType::Int) {
        xml.writeTextElement(u"integer"_s, value.toString());
    } else {
        xml.writeTextElement(u"string"_s, value.toString());
    }
}

QString infoPath() {
    return bundle() + u"/Contents/Info.plist"_s;
}

void put(const QString& plainPath, const QByteArray& contents, QFileDevice::Permissions permissions) {
    const QString path = systemRoot() + plainPath;
    writeFile(path, contents);
    QFile::setPermissions(path, permissions);
    setEnvironment("QN_SYSTEM_ROOT", systemRoot().toUtf8());
}

// A thread of some library may be reading while a case changes a variable, and the C library frees what it replaces.
// The lists of before stay here as they were.
void replaceVariable(const char* name, std::optional<QByteArray> entry) {
    static auto* const entries = new std::deque<QByteArray>; // never destroyed: threads may outlive the statics
    static auto* const lists = new std::deque<std::vector<char*>>;
    const std::string beginning = std::string(name) + '=';
    std::vector<char*> list;
    for (char** variable = environ; *variable; ++variable) {
        if (!std::string_view(*variable).starts_with(beginning)) {
            list.push_back(*variable);
        }
    }
    if (entry) {
        list.push_back(entries->emplace_back(*std::move(entry)).data());
    }
    list.push_back(nullptr);
    environ = lists->emplace_back(std::move(list)).data();
}

} // namespace

QString folder() {
    return qEnvironmentVariable("QN_TEST_FOLDER");
}

QString home() {
    return folder() + u"/home"_s;
}

QString bundle() {
    return folder() + u"/Test.app"_s;
}

QString systemRoot() {
    return folder() + u"/system"_s;
}

QVariantMap infoPlist() {
    return PropertyList::parse(readFile(infoPath())).value_or(QVariant()).toMap();
}

void writeInfoPlist(const QVariantMap& info) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument();
    xml.writeStartElement(u"plist"_s);
    xml.writeAttribute(u"version"_s, u"1.0"_s);
    writeValue(xml, info);
    xml.writeEndElement();
    xml.writeEndDocument();
    writeFile(infoPath(), bytes);
}

void setInfo(const QString& key, const QVariant& value) {
    QVariantMap info = infoPlist();
    if (value.isValid()) {
        info.insert(key, value);
    } else {
        info.remove(key);
    }
    writeInfoPlist(info);
}

void setSetting(const QString& key, const QVariant& value) {
    QVariantMap settings = infoPlist().value(u"QNConfig"_s).toMap();
    if (value.isValid()) {
        settings.insert(key, value);
    } else {
        settings.remove(key);
    }
    setInfo(u"QNConfig"_s, settings);
}

QString ownResources() {
    namespace fs = std::filesystem;
    const fs::path resources = (bundle() + u"/Contents/Resources"_s).toStdString();
    if (fs::is_symlink(resources)) {
        const fs::path original = fs::canonical(resources);
        fs::remove(resources);
        fs::copy(original, resources, fs::copy_options::recursive);
    }
    return QString::fromStdString(resources.string());
}

void putSystemFile(const QString& plainPath, const QByteArray& contents) {
    put(plainPath, contents, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

void putSystemTool(const QString& plainPath, const QByteArray& script) {
    put(plainPath, script, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

void setEnvironment(const char* name, const QByteArray& value) {
    replaceVariable(name, name + ("=" + value));
}

void unsetEnvironment(const char* name) {
    replaceVariable(name, std::nullopt);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& contents) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
        throw std::runtime_error("cannot write " + path.toStdString());
    }
}

QStringList eventLog() {
    const QVariantMap info = infoPlist();
    const QString environment = info.value(u"QNEnv"_s).toString();
    const QMap<QString, QString> suffixes{{u"dev1"_s, u"Dev1"_s}, {u"qa1"_s, u"QA1"_s}, {u"beta"_s, u"Beta"_s}};
    const QString key = u"kQNApplicationDataPath"_s + suffixes.value(environment, u"Prod"_s);
    const QVariantMap settings = info.value(u"QNConfig"_s).toMap();
    const QString path = settings.contains(key) ? settings.value(key).toString() : u"(null)"_s;
    const QByteArray log = readFile(home() + path + u"/Logs/install.log"_s);
    QStringList lines = QString::fromUtf8(log).split(u"\r\n"_s);
    lines.removeLast();
    return lines;
}

QStringList eventLogMessages() {
    static const QRegularExpression pattern(u"\"message\":(?:\" (.*)\"| (.*)), \"lang\": "_s,
                                            QRegularExpression::DotMatchesEverythingOption);
    QStringList messages;
    for (const QString& line : eventLog()) {
        const QRegularExpressionMatch match = pattern.match(line);
        messages += match.captured(1).isNull() ? match.captured(2) : match.captured(1);
    }
    return messages;
}

QStringList consoleLinesOf(const std::function<void()>& body) {
    testing::internal::CaptureStderr();
    body();
    const QString text = QString::fromStdString(testing::internal::GetCapturedStderr());
    static const QRegularExpression prefix(
        u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} QNInstaller\\[\\d+\\] "_s);
    QStringList lines;
    for (QString line : text.split(u'\n', Qt::SkipEmptyParts)) {
        lines += line.remove(prefix);
    }
    return lines;
}

bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    QTimer tick; // so that a condition without an event of its own is looked at too
    tick.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace test
