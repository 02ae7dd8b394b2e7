#include "tools/qn-portal/check/Rules.h"

#include <algorithm>
#include <array>

namespace portal::check {

namespace {

using enum Severity;

constexpr std::string_view kConfigErrorScreen =
    "The screen \"Installation failed\"; the log says \"Config parse error. Error: (null)\".";

constexpr std::array kDocument{
    Rule{"json-not-text", kError, "The bytes are no text in the encoding that they begin in: %1.", kConfigErrorScreen,
         "Save the document as UTF-8."},
    Rule{"json-encoding", kWarning, "The document is %1.",
         "Nothing: the installer reads it. Other clients, and tools on the way, may not.",
         "Save the document as UTF-8 without a byte order mark."},
    Rule{"json-byte-order-mark", kNote, "The document begins with a byte order mark.",
         "Nothing: the installer skips it. Other clients refuse the document.",
         "Save the document as UTF-8 without a byte order mark."},
    Rule{"json-syntax", kError, "The document is no JSON here: %1.", kConfigErrorScreen, "Mend the document here."},
    Rule{"json-trailing-comma", kError, "A comma stands behind the last entry.", kConfigErrorScreen,
         "Remove the comma."},
    Rule{"json-missing-comma", kError, "Between two entries a comma is missing.", kConfigErrorScreen,
         "Put a comma between them."},
    Rule{"json-comment", kError, "JSON has no comments.", kConfigErrorScreen, "Remove the comment."},
    Rule{"json-quotes", kError, "A text stands in %1.", kConfigErrorScreen, "Use straight double quotes: \"…\"."},
    Rule{"json-unquoted-word", kError, "The word %1 stands without quotes.", kConfigErrorScreen,
         "Write \"%1\" with double quotes."},
    Rule{"json-control-character", kError, "A text holds the raw character %1.", kConfigErrorScreen,
         "Write it as an escape: \\n, \\t, \\u00XX."},
    Rule{"json-unended", kError, "The document ends in the middle: %1 is open.", kConfigErrorScreen,
         "Look whether the file was cut off; close what is open."},
    Rule{"json-behind-value", kError, "Behind the document something else follows.", kConfigErrorScreen,
         "Remove everything behind the last brace."},
    Rule{"json-too-deep", kError, "The document nests deeper than 512 levels.", kConfigErrorScreen,
         "Make it flat: no value that counts lies deeper than three levels."},
    Rule{"json-not-object", kError, "The document is %1, not an object.", kConfigErrorScreen,
         "Begin the document with { and put userAction and software into it."},
    Rule{"json-duplicate-key", kWarning, "The key \"%1\" stands twice in one object.",
         "Whatever the first one says: the second is not read. Other clients may take the second.",
         "Keep one of them."},
};

constexpr std::string_view kGenericError = "The screen \"Installation failed\"; the event Config FAIL.";

constexpr std::array kConfiguration{
    Rule{"config-misspelt-key", kError, "The key \"%1\" means nothing; \"%2\" was probably meant.",
         "What stands there is not there for the installer.", "Write \"%2\"."},
    Rule{"config-mixed-up-active", kError,
         "\"%1\" stands where \"%2\" is read: user actions have isActive, software has IsActive.",
         "The entry is never active.", "Write \"%2\"."},
    Rule{"config-misplaced-key", kWarning, "The key \"%1\" is read in %2, not here.", "It has no effect.",
         "Move it to %2."},
    Rule{"config-unknown-key", kNote, "The key \"%1\" means nothing to the installer.", "It has no effect.",
         "Remove it, unless another client reads it."},
    Rule{"config-active-not-text", kError, "The mark is %1, not the text \"1\".", "The entry is never active.",
         "Write \"1\" with quotes."},
    Rule{"config-active-value", kWarning, "The mark is the text \"%1\"; only \"1\" makes an entry active.",
         "The entry is never active.", "Write \"1\" for active and \"0\" for inactive."},
    Rule{"config-argument-list", kError, "commandLineArgs is %1; one text is handed to the application.",
         "The application is started without any argument.", "Write one text."},
    Rule{"config-wrong-type", kError, "\"%1\" is %2; it is read as %3.", "It counts as missing.", "Write %3."},
    Rule{"config-arguments-stay-one", kWarning, "\"%1\" is handed over as one single argument, blanks included.",
         "An application that expects several arguments does not understand it.",
         "Have the application split the text itself, or hand over one word."},
    Rule{"config-blanks-around", kWarning, "The text has blanks at its ends: \"%1\".",
         "The blanks count: names and addresses differ.", "Remove them."},
    Rule{"config-no-actions", kError, "There is no list \"userAction\".", kGenericError,
         "Add \"userAction\": [{\"action\": \"install\", \"isActive\": \"1\"}]."},
    Rule{"config-no-active-action", kError, "No user action is active.", kGenericError,
         "Mark one with \"isActive\": \"1\"."},
    Rule{"config-two-active-actions", kWarning, "A second user action is active; only the first counts.",
         "The first one's action.", "Mark all but one with \"0\"."},
    Rule{"config-no-action", kError, "The active user action names no action.", kGenericError,
         "Add \"action\": \"install\" or \"openLink\"."},
    Rule{"config-unhandled-action", kError, "Nobody handles the action \"%1\".",
         "The window says \"Connecting…\" and its spinner turns for ever.",
         "Use \"install\" or \"openLink\", spelt like this."},
    Rule{"config-no-link", kError, "The action openLink has no actionUrl.",
         "With autoOpen nothing opens and the program quits; the console says \"Failed to open url: (null)\". Without, "
         "the button Download does nothing.",
         "Add \"actionUrl\"."},
    Rule{"config-custom-param", kWarning, "customParam is \"%1\"; only \"autoOpen\" has an effect.",
         "The link is not opened by itself: the download screen shows and waits.", "Write \"autoOpen\"."},
    Rule{"config-no-software", kError, "There is no list \"software\" to install from.", kGenericError,
         "Add \"software\" with one active entry."},
    Rule{"config-no-active-software", kError, "No software entry is active.", kGenericError,
         "Mark one with \"IsActive\": \"1\" (capital I)."},
    Rule{"config-two-active-software", kWarning, "A second software entry is active; only the first counts.",
         "The first one is installed.", "Mark all but one with \"0\"."},
    Rule{"config-no-image", kError, "The active software entry has no macUrl.", kGenericError, "Add \"macUrl\"."},
    Rule{"config-not-dmg", kError, "The image's address does not end in .dmg: \"%1\".",
         "The screen \"Installation failed\"; the log says \"Config parse error. Invalid file format specified for "
         "Mac\".",
         "Give the image a name that ends in .dmg."},
    Rule{"config-behind-dmg", kError, "Behind .dmg follows \"%1\", and the text as a whole must end in .dmg.",
         "The screen \"Installation failed\"; the log says \"Config parse error. Invalid file format specified for "
         "Mac\".",
         "Put the query into the path, or end it with .dmg: ?v=2&name=Kit.dmg."},
    Rule{"config-no-analytics", kNote, "There is no analyticsUrl.", "Nothing. Of this portal's runs nobody ever hears.",
         "Add \"analyticsUrl\"."},
    Rule{"config-no-app-name", kNote, "The active software entry has no appName.",
         "Nothing. The analytics of the download lack \"DProd\".", "Add \"appName\"."},
    Rule{"config-placeholder", kWarning, "\"%1\" looks like a placeholder that nobody filled in.",
         "Whatever stands there, literally.", "Fill it in."},
    Rule{"config-large", kWarning, "The document has %1 KiB; every start of the program loads all of it.",
         "\"Connecting…\" for longer.", "Keep what no client reads out of it."},
    Rule{"config-too-large", kError, "The document has more than the %1 MiB that are taken of it.",
         "The screen \"Installation failed\"; the log says Code=-1103.", "Keep what no client reads out of it."},
    Rule{"config-differs", kNote, "The document for %1 differs from the one for %2.",
         "Other languages get another installation.", "Look whether that is meant; both were checked."},
};

constexpr std::string_view kConsequence = "%9"; // depends on what the address is for

constexpr std::array kAddresses{
    Rule{"address-malformed", kError, "\"%1\" is no address: %2.", kConsequence, "Escape it: %3."},
    Rule{"address-no-scheme", kError, "\"%1\" has no scheme.", kConsequence, "Begin it with https://."},
    Rule{"address-no-host", kError, "\"%1\" names no host.", kConsequence, "Write the host behind https://."},
    Rule{"address-scheme", kError, "Nothing is loaded over %1.", kConsequence, "Use https."},
    Rule{"address-file", kError, "\"%1\" is a file on this machine; users have none of that name.", kConsequence,
         "Use the address on the server."},
    Rule{"address-port", kError, "\"%1\" is no port.", kConsequence, "Use a number from 1 to 65535."},
    Rule{"address-without-tls", kWarning, "%1 is loaded without TLS.",
         "Nothing. Whoever owns the network may put another program in its place; macOS may refuse it.", "Use https."},
    Rule{"address-password", kWarning, "The address holds a login name or a password.",
         "Nothing. Everybody who has the program can read it, and it stands in logs.", "Do without."},
    Rule{"address-fragment", kNote, "What follows # is never sent to the server.", "Nothing.", "Remove it."},
    Rule{"address-this-network", kWarning, "%1 is reached from this machine or this network only.",
         "The screen \"Installation failed\" everywhere else.", "Use the public host's name."},
};

} // namespace

std::span<const Rule> documentRules() {
    return kDocument;
}

std::span<const Rule> configurationRules() {
    return kConfiguration;
}

std::span<const Rule> addressRules() {
    return kAddresses;
}

std::vector<const Rule*> rules() {
    std::vector<const Rule*> all;
    for (const auto& area :
         {documentRules(), configurationRules(), addressRules(), transferRules(), imageRules(), bundleRules()}) {
        for (const Rule& rule : area) {
            all.push_back(&rule);
        }
    }
    return all;
}

const Rule* ruleCalled(std::string_view code) {
    static const std::vector<const Rule*> kAll = rules();
    const auto found = std::ranges::find(kAll, code, &Rule::code);
    return found == kAll.end() ? nullptr : *found;
}

std::string_view nameOf(Severity severity) {
    switch (severity) {
    case kError:
        return "error";
    case kWarning:
        return "warning";
    case kNote:
        return "note";
    }
    return {};
}

} // namespace portal::check
