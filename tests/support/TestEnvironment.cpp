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

namespace test {

namespace {

void writeValue(QXmlStreamWriter& xml, const QVariant& value) {
    if (value.typeId() == QMetaType::QVariantMap) {
        xml.writeStartElement(QStringLiteral("dict"));
        const QVariantMap dictionary = value.toMap();
        for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry) {
            xml.writeTextElement(QStringLiteral("key"), entry.key());
            writeValue(xml, entry.value());
        }
        xml.writeEndElement();
    } else if (value.typeId() == QMetaType::QVariantList) {
        xml.writeStartElement(QStringLiteral("array"));
        for (const QVariant& item : value.toList())
            writeValue(xml, item);
        xml.writeEndElement();
    } else if (value.typeId() == QMetaType::Bool) {
        xml.writeEmptyElement(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
    } else if (value.typeId() == QMetaType::LongLong || value.typeId() == QMetaType::Int) {
        xml.writeTextElement(QStringLiteral("integer"), value.toString());
    } else {
        xml.writeTextElement(QStringLiteral("string"), value.toString());
    }
}

QString infoPath() {
    return bundle() + QStringLiteral("/Contents/Info.plist");
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
    for (char** variable = environ; *variable; ++variable)
        if (!std::string_view(*variable).starts_with(beginning))
            list.push_back(*variable);
    if (entry)
        list.push_back(entries->emplace_back(*std::move(entry)).data());
    list.push_back(nullptr);
    environ = lists->emplace_back(std::move(list)).data();
}

} // namespace

QString folder() {
    return qEnvironmentVariable("QN_TEST_FOLDER");
}

QString home() {
    return folder() + QStringLiteral("/home");
}

QString bundle() {
    return folder() + QStringLiteral("/Test.app");
}

QString systemRoot() {
    return folder() + QStringLiteral("/system");
}

QVariantMap infoPlist() {
    return PropertyList::parse(readFile(infoPath())).value_or(QVariant()).toMap();
}

void writeInfoPlist(const QVariantMap& info) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("plist"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    writeValue(xml, info);
    xml.writeEndElement();
    xml.writeEndDocument();
    writeFile(infoPath(), bytes);
}

void setInfo(const QString& key, const QVariant& value) {
    QVariantMap info = infoPlist();
    if (value.isValid())
        info.insert(key, value);
    else
        info.remove(key);
    writeInfoPlist(info);
}

void setSetting(const QString& key, const QVariant& value) {
    QVariantMap settings = infoPlist().value(QStringLiteral("QNConfig")).toMap();
    if (value.isValid())
        settings.insert(key, value);
    else
        settings.remove(key);
    setInfo(QStringLiteral("QNConfig"), settings);
}

QString ownResources() {
    namespace fs = std::filesystem;
    const fs::path resources = (bundle() + QStringLiteral("/Contents/Resources")).toStdString();
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
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

QStringList eventLog() {
    const QVariantMap info = infoPlist();
    const QString environment = info.value(QStringLiteral("QNEnv")).toString();
    const QMap<QString, QString> suffixes{{QStringLiteral("dev1"), QStringLiteral("Dev1")},
                                          {QStringLiteral("qa1"), QStringLiteral("QA1")},
                                          {QStringLiteral("beta"), QStringLiteral("Beta")}};
    const QString key = QStringLiteral("kQNApplicationDataPath") + suffixes.value(environment, QStringLiteral("Prod"));
    const QVariantMap settings = info.value(QStringLiteral("QNConfig")).toMap();
    const QString path = settings.contains(key) ? settings.value(key).toString() : QStringLiteral("(null)");
    const QByteArray log = readFile(home() + path + QStringLiteral("/Logs/install.log"));
    QStringList lines = QString::fromUtf8(log).split(QStringLiteral("\r\n"));
    lines.removeLast();
    return lines;
}

QStringList eventLogMessages() {
    static const QRegularExpression pattern(QStringLiteral("\"message\":(?:\" (.*)\"| (.*)), \"lang\": "),
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
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} QNInstaller\\[\\d+\\] "));
    QStringList lines;
    for (QString line : text.split(u'\n', Qt::SkipEmptyParts))
        lines += line.remove(prefix);
    return lines;
}

bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    QTimer tick; // so that a condition without an event of its own is looked at too
    tick.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace test
