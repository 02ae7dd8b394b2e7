#pragma once

#include <QString>

#include <optional>

// Answers about the machine and the user's language.
//
// The first group runs probes, some of which are slow tools; what they find is kept for the life of the process. A
// probe never throws: it tells its failure on the console and in the event log and answers with what it has. The second
// group is worked out anew at each call and cannot fail.
//
// Threads: any, except getScreenResolution(), which belongs to the main thread until it has found a size.
class QNSystemInfo {
public:
    // Starts the tools that getCPUName() and getMacAddress() will ask, so that their answers are there by then.
    static void askToolsAhead();

    // "major.minor.bugfix", or "(MacOS)Unknown" for good once the query has failed.
    static QString getOSVersion();
    // "<width>x<height>" of the main screen in whole points, truncated; "0x0" without a screen.
    static std::optional<QString> getScreenResolution();
    // May be empty: a profile that names the processor with an empty text is believed.
    static std::optional<QString> getCPUName();
    // Not kept. "NA" when macOS has no text for the processor family.
    static QString getCPUType();
    // The first hardware address that is not all zeros, in the interface lister's order and spelling.
    static std::optional<QString> getMacAddress();
    // What stands before the first "-"; the whole text when it has none or begins with it.
    static QString getFirstPathOf(const QString& text);

    // "de"; Chinese keeps its script and region: "zh-Hans-CN". Never empty.
    static QString getLanguage();
    // "DE"; "US" when the settings name no territory.
    static QString getCountry();
    // Language and country joined by "-": "de-AT", "zh-Hans-CN-CN".
    static QString getLocale();
    // The locale that the product supports and that comes closest; "en-US" when none does.
    static QString configLocale(const QString& locale);
    // Whether the interface's language is written from right to left.
    static bool isRTL();
};
