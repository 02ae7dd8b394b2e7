#pragma once

#include "platform/base/Address.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <optional>

// An event's value from what may be absent: an absent one leaves its key out of the event.
QVariant eventValue(const std::optional<QString>& text);

// Makes analytics lines, hands them to the queue and to the event log, and posts the queue to the endpoint. The queue
// and the endpoint's address are the application delegate's.
//
// Threads: any, except where said otherwise.
class QNAnalyticSender {
public:
    // The six entries that every event carries. Throws PlatformException (NSInvalidArgumentException) when the bundle's
    // version or the product name is missing.
    static QVariantMap defaultData();

    // "<time> ci=<identifier> <JSON object>". A key of `data` replaces a default of that name, an absent value in
    // `data` leaves its key out, and "EVT" is always the event name. Throws as defaultData().
    static QString getMessage(const QString& eventName, const QVariantMap& data);

    // Posts "LOG_ANALYTICS" with the line, on this thread, then writes the line to the event log. Throws as
    // defaultData(), and what an observer throws.
    static void sendEvent(const QString& eventName, const QVariantMap& data);
    static void sendEvent(const QString& eventName);

    // Posts all lines, joined by CR LF, in one request. Nothing happens when sending is switched off.
    static void sendAll(const QStringList& lines, const std::optional<Address>& url);

    // Posts `body` and waits for the answer without a limit of its own; its status is not looked at. A transfer that
    // fails is told on the console and in the event log, and the lines are lost; nothing is thrown. Not to be called on
    // a thread that delivers a request's answer.
    static void send(const QString& body, const std::optional<Address>& url);

    // On at start.
    static void setIsSend(bool isSend);
};
