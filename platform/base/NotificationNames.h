#pragma once

#include <QString>

using namespace Qt::StringLiterals;

// The published vocabulary of notification names. Some have no poster or no observer; they are kept as they are.

inline const QString kLogAnalytics = u"LOG_ANALYTICS"_s;
inline const QString kChangeAnalyticsUrl = u"CHANGE_ANALYTICS_URL"_s;
inline const QString kStartInstallation = u"START_INSTALLATION"_s;
inline const QString kQuitInstallation = u"QUIT_INSTALLATION"_s;
inline const QString kHideAlert = u"HIDE_ALERT"_s;
inline const QString kShowCloseButton = u"SHOW_CLOSE_BUTTON"_s;
inline const QString kHideCloseButton = u"HIDE_CLOSE_BUTTON"_s;
inline const QString kShowContactSupportButton = u"SHOW_CONTACT_SUPPORT_BUTTON"_s;
inline const QString kShowCrashInfoDialog = u"SHOW_CRASH_INFO_DIALOG"_s;

// Those of macOS. The object is the file handle or the task, as a pointer; the user info of a read holds the chunk
// (QByteArray) under kFileHandleNotificationDataItem.
inline const QString kFileHandleReadCompletion = u"NSFileHandleReadCompletionNotification"_s;
inline const QString kTaskDidTerminate = u"NSTaskDidTerminateNotification"_s;
inline const QString kFileHandleNotificationDataItem = u"NSFileHandleNotificationDataItem"_s;
