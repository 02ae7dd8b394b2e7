#pragma once

#include "platform/UrlSession.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

class QNConfig;
class QNMainController;

// A main controller with real views, real tools and a real event log, on a machine whose facts are files: without a
// default route until goOnline(), so that making the controller asks no server.
class ControllerTest : public testing::Test {
protected:
    ControllerTest();
    ~ControllerTest() override;

    static void goOnline();
    static void goOffline();

    // Makes the controller: its view is loaded and the first run ends on the no-internet screen.
    QNMainController& controller();
    // A configuration for "install", with `changes` laid over it.
    static std::shared_ptr<QNConfig> installConfig(const QVariantMap& changes = {});
    static std::shared_ptr<QNConfig> linkConfig(const QString& actionUrl, const QString& customParam);

    // The log's messages since the controller was made.
    QStringList messages() const;
    // The data of the analytics events since then, without their default entries and times; "T" as its type's name.
    QList<QVariantMap> events() const;

    // Puts `script` in the place of the disk-image tool.
    static void fakeDiskImageTool(const QByteArray& script);
    // What the fake xdg-open was asked to open.
    static QStringList openedAddresses();

    // The process ends where the program would: `expectations` are checked then, and the case is over.
    static void whenTerminated(std::function<void()> expectations);

private:
    std::unique_ptr<QNMainController> controller_;
    qsizetype firstMessage_ = 0;
};
