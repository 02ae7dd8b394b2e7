#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <functional>

// The private surroundings of one test case. Before a case runs, its process moves into a bundle of its own below a new
// folder, with its own HOME, TMPDIR and XDG_RUNTIME_DIR; the folder is deleted when the case has ended. LANG is
// en_US.UTF-8, TZ is UTC, and QN_SYSTEM_ROOT is not set until a file is put there.
namespace test {

QString folder();     // the private folder
QString home();       // folder() + "/home"
QString bundle();     // folder() + "/Test.app"
QString systemRoot(); // folder() + "/system"

// The bundle's Info.plist. Editing takes effect when it is done before the program first reads a setting.
QVariantMap infoPlist();
void writeInfoPlist(const QVariantMap& info);
// One entry of the top level, or of the portal settings ("QNConfig"). An invalid value removes it.
void setInfo(const QString& key, const QVariant& value);
void setSetting(const QString& key, const QVariant& value);

// Replaces the link to the built Resources by a copy that may be edited; returns its path.
QString ownResources();

// Puts a file, or an executable script, at a plain absolute path below QN_SYSTEM_ROOT, and sets that variable.
void putSystemFile(const QString& plainPath, const QByteArray& contents);
void putSystemTool(const QString& plainPath, const QByteArray& script);

// May be called while other threads read the environment. Not for two threads at once.
void setEnvironment(const char* name, const QByteArray& value);
void unsetEnvironment(const char* name);

QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& contents);

// The lines of the event log so far, without their CR LF.
QStringList eventLog();
// The message of each line, without the leading blank of plain ones.
QStringList eventLogMessages();

// What `body` writes to standard error, each line without the console's time and process.
QStringList consoleLinesOf(const std::function<void()>& body);

// Turns the event loop until `condition` holds; false when it does not within the limit.
bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(20));

} // namespace test
