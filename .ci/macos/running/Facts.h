#pragma once

#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

// What the stand-ins answer with, and what they were told. A case sets it before it asks.
struct Facts {
    struct Application {
        int pid;
        QString identifier;
        std::optional<double> launched; // seconds since 2001
        bool isActive = false;
    };

    std::optional<std::uint32_t> reachability = 0; // absent: the system cannot tell
    bool makesReachability = true;
    QString temporaryFolder; // $TMPDIR and a slash when it is empty
    QString homeFolder = QString::fromLatin1("/Users/somebody");
    QString userName = QString::fromLatin1("somebody");
    std::vector<Application> applications;
    std::vector<int> activated;
    QStringList volumes;
    QStringList languages;
    std::optional<QString> country;
    bool opens = true;
    QStringList opened;
    std::optional<QSizeF> screen;
    std::array<long, 3> version{};
    std::optional<QString> architecture;
    bool hasMainWindow = true;
    QStringList announcements;
    bool flushed = false;
};

Facts& facts();

// Delivers an address as the system does, to whoever has asked for that event last.
void deliverAddress(const QString& address);
// Somebody else asks for the event, as Qt's delegate does; it then gets the addresses.
void takeAddressesElsewhere();
// Tells that the program has begun or ended its launch.
void postLaunchNotification(bool isDone);
// Raises an exception of Objective-C.
[[noreturn]] void raiseSystemException();
