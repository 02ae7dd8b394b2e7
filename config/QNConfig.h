#pragma once

#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <optional>

// What the server told this run to do: the first active user action of the configuration document and, for the action
// "install", its first active software entry. Absent is what the document does not give as text.
//
// A user action is marked active by "isActive", a software entry by "IsActive", each with the text "1"; the two
// spellings do not stand for each other.
//
// Threads: built on one thread, then only read.
class QNConfig {
public:
    using Text = std::optional<QString>;

    // Takes the parsed document. Writes "action: …" to the console for each user action up to the first active one.
    // A missing or wrongly typed value leaves its field absent; never throws.
    explicit QNConfig(const QVariantMap& document);

    const std::optional<QVariantList>& userActionList() const { return userActionList_; }
    void setUserActionList(std::optional<QVariantList> list);
    const Text& defaultAction() const { return defaultAction_; }
    void setDefaultAction(Text text);
    const Text& actionUrl() const { return actionUrl_; }
    void setActionUrl(Text text);
    const Text& actionDescription() const { return actionDescription_; }
    void setActionDescription(Text text);
    const Text& customParam() const { return customParam_; }
    void setCustomParam(Text text);

    const std::optional<QVariantList>& softwareList() const { return softwareList_; }
    void setSoftwareList(std::optional<QVariantList> list);
    const Text& latestMacURL() const { return latestMacURL_; }
    void setLatestMacURL(Text text);
    const Text& latestWinURL() const { return latestWinURL_; }
    void setLatestWinURL(Text text);
    const Text& appName() const { return appName_; }
    void setAppName(Text text);
    const Text& appShortName() const { return appShortName_; }
    void setAppShortName(Text text);

    const Text& analyticsURL() const { return analyticsURL_; }
    void setAnalyticsURL(Text text);
    // One text, not a list.
    const Text& commandLineArgs() const { return commandLineArgs_; }
    void setCommandLineArgs(Text text);

private:
    void takeUserAction();
    void takeSoftware();

    std::optional<QVariantList> userActionList_;
    Text defaultAction_;
    Text actionUrl_;
    Text actionDescription_;
    Text customParam_;
    std::optional<QVariantList> softwareList_;
    Text latestMacURL_;
    Text latestWinURL_;
    Text appName_;
    Text appShortName_;
    Text analyticsURL_;
    Text commandLineArgs_;
};
