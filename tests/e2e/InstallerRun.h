#pragma once

#include "tests/support/LoopbackServer.h"

#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <utility>
#include <vector>

// One run of the built program as its own process: a copy of the bundle with settings of its own, a loopback portal, a
// machine whose facts are written down in files, and a fake `xdg-open` that notes what it was asked to open.
//
// What happened is compared as a whole: account() holds the event log, the console, the requests, the opened addresses,
// what the sample installer saw, what is left mounted, and the exit status. Only times, identifiers, source lines,
// ports and temporary names are masked, by pattern.
class InstallerRun {
public:
    InstallerRun();
    ~InstallerRun();
    InstallerRun(const InstallerRun&) = delete;
    InstallerRun& operator=(const InstallerRun&) = delete;

    loopback::LoopbackServer& portal() { return portal_; }

    // The address of a path on the portal.
    QString address(const QString& path) const;
    // Has the portal expect the configuration request and answer with this document.
    void expectConfiguration(const QByteArray& document);
    // The document for "install", with `image` as the download's path, and the analytics endpoint.
    QByteArray installDocument(const QString& image, const QByteArray& commandLineArgs = "--a --b") const;
    QByteArray linkDocument(const QByteArray& customParam) const;
    void expectAnalytics();

    void setEnvironment(const QString& name, const QString& value) { environment_.insert(name, value); }
    void setInfo(const QString& key, const QVariant& value);
    // A file below the machine's root, at a plain absolute path.
    void putSystemFile(const QString& plainPath, const QByteArray& contents) const;
    // A shell script that takes the place of one of the system's tools.
    void putSystemTool(const QString& plainPath, const QByteArray& commands) const;
    // A shell script that stands on the program's PATH before all others; xdg-open is one from the start.
    void putProgram(const QString& name, const QByteArray& commands) const;

    void start(const QStringList& arguments = {});
    // Until the event log holds an entry with this message.
    bool waitForMessage(const QString& message);
    void askToEnd(); // SIGTERM
    void sendSignal(int signal);
    qint64 process() const { return process_.processId(); }
    // What it has written on the console so far.
    QString console() const;
    // Runs a further copy of the same bundle to its end; returns its status.
    int startAnother(const QStringList& arguments);
    const QString& anotherConsole() const { return anotherConsole_; }
    // Before start(): the program finds its standard descriptors closed; the end's signals blocked, SIGCHLD ignored.
    void closeStandardStreams();
    void blockSignals();
    // Before start(): what the program writes to its standard streams goes to this file.
    void sendStreamsTo(const char* path);
    // Before start(): the program has no more than `most` of this resource (setrlimit(2)).
    void limit(int resource, rlim_t most);
    // The same as an ordinary user who has no other process: the superuser may have any number of threads.
    void limitThreads(rlim_t most);
    // Before start(): the program finds a file of nothing at this place.
    void emptyFile(const QString& path);
    // Ends the process and deletes the folder, so that a case can have another run.
    void discard();
    // Before start(): the program's opened files are written to folder() + "/opens".
    void traceOpens() { tracesOpens_ = true; }
    // Replaces the link to the built resources by a copy that may be edited; returns its path.
    QString ownResources() const;
    bool hasEnded() const { return process_.state() == QProcess::NotRunning; } // as known to the event loop
    // Until the process has ended by itself.
    bool waitForEnd(std::chrono::milliseconds limit = std::chrono::seconds(30));
    // What the user's default handler was asked to open, once there are `count` addresses.
    QStringList openedAddresses(int count) const;
    // Of the ended process; -1 when a signal ended it.
    int exitStatus() const;

    QString account() const;
    // For runs whose portal is another one than portal(): what that got.
    void takeRequestsFrom(std::function<std::vector<loopback::Request>()> requests) {
        requestsOf_ = std::move(requests);
    }
    // Shows in the account as `mask` wherever it stands; earlier ones first.
    void mask(const QString& text, const QString& mask) { masks_.emplace_back(text, mask); }
    // What is there of the run but its log and its notes: files, mounted volumes, processes. Relative to folder().
    QStringList leftovers() const;

    QString folder() const { return folder_; }
    QString temporaryFolder() const;
    QString logPath() const;

private:
    QStringList mountedVolumes() const;
    QProcessEnvironment environment() const;
    QString executable() const;
    QString masked(QString text) const;
    QString consoleAccount() const;
    QString requestsAccount() const;

    QString folder_;
    loopback::LoopbackServer portal_;
    QProcess process_;
    QString anotherConsole_;
    bool tracesOpens_ = false;
    QMap<QString, QString> environment_;
    std::function<std::vector<loopback::Request>()> requestsOf_;
    std::vector<std::pair<QString, QString>> masks_;
};

// A disk image, made by another program than ours, that holds these files: path below the volume, contents. Files below
// a folder MacOS are executable.
QByteArray diskImage(const QString& volumeName, const QMap<QString, QByteArray>& files);

// The files of a small installer application: it prints progress lines, notes its arguments in
// $HOME/installer-arguments, and ends with `status`.
QMap<QString, QByteArray> sampleInstaller(const QString& name, int status = 0);

// Fails the running test, with the difference, unless `account` equals the file of that name in expected/.
void expectAccount(const QString& account, const QString& name);
