#pragma once

#include <QString>

// The published vocabulary of notification names. Some have no poster or no observer; they are kept as they are.

inline const QString kLogAnalytics = QStringLiteral("LOG_ANALYTICS");
inline const QString kChangeAnalyticsUrl = QStringLiteral("CHANGE_ANALYTICS_URL");
inline const QString kStartInstallation = QStringLiteral("START_INSTALLATION");
inline const QString kQuitInstallation = QStringLiteral("QUIT_INSTALLATION");
inline const QString kHideAlert = QStringLiteral("HIDE_ALERT");
inline const QString kShowCloseButton = QStringLiteral("SHOW_CLOSE_BUTTON");
inline const QString kHideCloseButton = QStringLiteral("HIDE_CLOSE_BUTTON");
inline const QString kShowContactSupportButton = QStringLiteral("SHOW_CONTACT_SUPPORT_BUTTON");
inline const QString kShowCrashInfoDialog = QStringLiteral("SHOW_CRASH_INFO_DIALOG");

// The platform's own. The object is the file handle or the task, as a pointer; the user info of a read holds the chunk
// (QByteArray) under kFileHandleNotificationDataItem.
inline const QString kFileHandleReadCompletion = QStringLiteral("NSFileHandleReadCompletionNotification");
inline const QString kTaskDidTerminate = QStringLiteral("NSTaskDidTerminateNotification");
inline const QString kFileHandleNotificationDataItem = QStringLiteral("NSFileHandleNotificationDataItem");
