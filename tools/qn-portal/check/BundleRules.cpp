#include "tools/qn-portal/check/Rules.h"

#include <array>

namespace portal::check {

namespace {

using enum Severity;

constexpr std::array kBundles{
    Rule{"bundle-no-info", kError, "Contents/Info.plist is missing or damaged.",
         "Nothing starts, or a window without any setting.", "Restore it; plutil -lint finds the place."},
    Rule{"bundle-no-settings", kError, "Info.plist has no dictionary QNConfig.",
         "The screen \"Installation failed\"; the log lies in a folder called (null).", "Add QNConfig."},
    Rule{"bundle-missing-setting", kError, "The setting %1 is missing: %2.", "%3", "Add %1."},
    Rule{"bundle-misspelt-setting", kError, "The setting \"%1\" means nothing; \"%2\" was probably meant.",
         "What stands there is not there for the installer.", "Write %2."},
    Rule{"bundle-misplaced-setting", kError, "The setting %1 is read in %2, not here.", "It has no effect.",
         "Move it to %2."},
    Rule{"bundle-unknown-setting", kNote, "The setting \"%1\" means nothing to the installer.", "It has no effect.",
         "Remove it."},
    Rule{"bundle-setting-type", kError, "The setting %1 is no text.", "It counts as missing.", "Make it a string."},
    Rule{"bundle-environment", kWarning, "QNEnv is \"%1\", which stands for production.",
         "The production portal's answer.", "Write dev1, qa1, beta or prod, in small letters."},
    Rule{"bundle-data-path", kError, "%1 does not begin with a slash: \"%2\".",
         "The log lies beside the user's folder, not in it, or nowhere.", "Begin it with /."},
    Rule{"bundle-shared-path", kNote, "%1 and %2 have the same data folder.",
         "Nothing. Two environments' logs are mixed up.", "Give each one its own."},
    Rule{"bundle-shared-address", kNote, "%1 and %2 ask the same address.",
         "Nothing. One cannot be tried out without the other.", "Give each environment its own."},
    Rule{"bundle-color", kError, "%1 is \"%2\", which is no colour.", "The colour that was there by itself.",
         "Write #RRGGBB or #RGB."},
    Rule{"bundle-color-digits", kWarning, "%1 is \"%2\", which holds more than hexadecimal digits; it is read as %3.",
         "Another colour.", "Write #RRGGBB with the digits 0 to 9 and A to F."},
    Rule{"bundle-contrast", kWarning, "%1 (%2) has a contrast of %3 against %4; %5 can be read.",
         "Texts that many people cannot read.", "Take a darker colour."},
    Rule{"bundle-link-dead", kWarning, "The link leads nowhere: %1 (%2).",
         "A link on the screen \"Installation failed\" that opens an error page.", "Mend the link or the page."},
    Rule{"bundle-scheme", kWarning, "CFBundleURLTypes does not register the scheme %1.",
         "Links that begin with %1: open nothing.", "Add %1 to CFBundleURLSchemes."},
    Rule{"bundle-identifier", kError, "CFBundleIdentifier is \"%1\".",
         "Other programs count as copies of this one, and end it.",
         "Use letters, digits, hyphens and dots: com.example.installer."},
    Rule{"bundle-version", kError, "CFBundleShortVersionString is missing.",
         "The program ends at its first event: the log says \"attempt to insert nil object\".", "Add it."},
    Rule{"bundle-no-program", kError, "There is no program Contents/MacOS/%1.", "Nothing starts.",
         "Name the program in CFBundleExecutable as it is called."},
    Rule{"bundle-program-not-executable", kError, "The program %1 has no executable bit.", "Nothing starts.",
         "chmod +x; look whether it was packed by a tool that keeps the bits."},
    Rule{"bundle-missing-resource", kError, "The resource %1 is missing.", "%2", "Restore it from the original."},
    Rule{"bundle-language-missing", kWarning, "There is no table for the language %1.",
         "Texts in the development language.", "Restore %1.lproj/Localizable.strings."},
    Rule{"bundle-strings-damaged", kError, "The table cannot be read.", "No text at all in this language.",
         "plutil -lint finds the place: a missing semicolon or quote."},
    Rule{"bundle-text-missing", kError, "The text %1 is missing.", "Nothing stands where it belongs.", "Translate it."},
    Rule{"bundle-text-unknown", kWarning, "The text \"%1\" is never shown%2.", "Nothing.",
         "Remove it, or mend the key."},
    Rule{"bundle-text-empty", kWarning, "The text %1 is empty.", "Nothing stands where it belongs.", "Translate it."},
    Rule{"bundle-development-language", kError, "CFBundleDevelopmentRegion is \"%1\", of which there is no table.",
         "No text at all in languages without a table.", "Name a language that is there, such as en."},
    Rule{"bundle-text-fit", kWarning, "The text \"%1\" %2 on the screen %3 at %4.",
         "On that screen in %5, a text without its end, or one over another.",
         "Shorten it; qn-portal brand preview shows it."},
    Rule{"bundle-screens", kError, "The screens cannot be shown in %1.", "The program ends at once.",
         "Restore Base.lproj and the tables from the original."},
};

} // namespace

std::span<const Rule> bundleRules() {
    return kBundles;
}

} // namespace portal::check
