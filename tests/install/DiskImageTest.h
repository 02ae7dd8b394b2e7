#pragma once

#include "platform/Folders.h"
#include "platform/UrlSession.h"
#include "tests/install/ControllerTest.h"

// A controller with a configuration for "install", at the moment when its download has ended; with a fake tool for disk
// images, whose volume "Kit Setup" is a plain folder.
class DiskImage : public ControllerTest {
protected:
    DiskImage();

    static const QByteArray kMounts; // a script that mounts the volume
    static const QString kUrl;

    static UrlResponse http(int status);
    // The file as the session leaves it.
    static QString downloadedFile(const QString& folder = platform::temporaryDirectory().value_or(QString()));
    // A path on the volume.
    static QString volume(const QString& path);
    // Puts an application on the volume, whose executable is this shell script.
    static void putInstaller(const QString& application, const QByteArray& script);

    // The installer's bundle identifier. Another in each case: applications are looked for among all of this user's.
    static QString identifier();

    void finish(const UrlResponse& response, const QString& location);
    void finish() { finish(http(200), downloadedFile()); }

    // The messages of a pass up to the mount, then `rest`.
    static QStringList afterMount(const QStringList& rest);
    QStringList maskedMessages() const;
};
