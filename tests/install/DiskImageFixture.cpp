#include "config/QNConfig.h"
#include "install/DownloadingStartDate.h"
#include "install/QNMainController.h"
#include "tests/install/DiskImageTest.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

const QByteArray DiskImage::kMounts =
    "[ \"$1\" = mount ] && printf '/dev/disk2          \\tApple_HFS\\t/Volumes/Kit Setup\\n'\n";
const QString DiskImage::kUrl = u"http://127.0.0.1:1/Kit.dmg"_s;

DiskImage::DiskImage() {
    controller().setConfig(installConfig());
    setDownloadingStartDate(std::chrono::system_clock::now());
}

UrlResponse DiskImage::http(int status) {
    return {.address = kUrl, .isHttp = true, .statusCode = status, .suggestedFilename = u"Kit.dmg"_s};
}

QString DiskImage::downloadedFile(const QString& folder) {
    const QString path = folder + u"/CFNetworkDownload_abc123.tmp"_s;
    test::writeFile(path, "image");
    return path;
}

QString DiskImage::volume(const QString& path) {
    return u"/Volumes/Kit Setup/"_s + path;
}

void DiskImage::putInstaller(const QString& application, const QByteArray& script) {
    test::putSystemFile(volume(application + u".app/Contents/Info.plist"_s),
                        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleExecutable</key>"
                        "<string>run me</string><key>CFBundleIdentifier</key><string>" +
                            identifier().toUtf8() + "</string></dict></plist>");
    test::putSystemTool(volume(application + u".app/Contents/MacOS/run me"_s), "#!/bin/sh\n" + script);
}

QString DiskImage::identifier() {
    return u"com.example.setup"_s + QString::number(QCoreApplication::applicationPid());
}

void DiskImage::finish(const UrlResponse& response, const QString& location) {
    controller().URLSessionDownloadTaskDidFinishDownloadingToURL(response, location);
}

QStringList DiskImage::afterMount(const QStringList& rest) {
    const QString folder = platform::temporaryDirectory().value_or(QString());
    const QString image = folder + u"/Kit.dmg"_s;
    return QStringList{u"Download completed: "_s + kUrl,
                       u"Download took: SECONDS seconds"_s,
                       u"event Download"_s,
                       u"Copied "_s + folder + u"/CFNetworkDownload_abc123.tmp to "_s + image,
                       u"Mounting: "_s + image,
                       u"Running command: /usr/bin/hdiutil attach "_s + image} +
           rest;
}

QStringList DiskImage::maskedMessages() const {
    static const QRegularExpression seconds(u"took: \\d+\\.\\d{6} seconds"_s);
    return messages().replaceInStrings(seconds, u"took: SECONDS seconds"_s);
}
