#include "tools/qn-portal/check/Rules.h"

#include <array>

namespace portal::check {

namespace {

using enum Severity;

constexpr std::string_view kMountError =
    "The screen \"Installation failed\"; the log says \"DMG mount error. Please check the contents of DMG file from "
    "config.\".";
constexpr std::string_view kNotOneApplication =
    "The screen \"Installation failed\"; the log says \"Executable error: No/More than one executable to run is "
    "present inside dmg file.\".";
constexpr std::string_view kNotStarted =
    "The window stays as it is, for ever; the log says \"Unmount DMG error: launch path not accessible\".";

constexpr std::array kImages{
    Rule{"image-not-recognized", kError, "This is no disk image: %1.", kMountError,
         "Look whether a page of the server was saved in its place; make the image with hdiutil create."},
    Rule{"image-encrypted", kError, "The image is encrypted.", kMountError, "Make it without a password."},
    Rule{"image-damaged", kError, "The image is damaged: %1.", kMountError, "Make it, or load it up, once more."},
    Rule{"image-checksum", kError, "A checksum does not hold: %1.", kMountError, "Make it, or load it up, once more."},
    Rule{"image-no-checksum", kWarning, "The image is raw: it carries no checksum.",
         "Nothing. A damaged download is mounted all the same.", "Make it with hdiutil create -format UDZO."},
    Rule{"image-no-volume", kError, "Nothing in the image can be mounted: %1.", kMountError,
         "Make it with HFS+ or APFS."},
    Rule{"image-volume-unreadable", kWarning, "A partition cannot be mounted: %1.", "Nothing: another one can.",
         "Leave it out."},
    Rule{"image-two-volumes", kWarning, "%1 volumes can be mounted; only the first one, \"%2\", is looked at.",
         "Whatever the first one holds.", "Make an image with one volume."},
    Rule{"image-volume-name", kWarning, "The volume's name \"%1\" is shown as \"%2\".", "Nothing.",
         "Name the volume without blanks at its ends, slashes and control characters."},
    Rule{"image-licence", kError, "The image shows a licence before it is mounted.",
         "On macOS the mount waits for an answer that nobody can give; then \"DMG mount error\".",
         "Take the licence out (hdiutil udifrez), and show it in the application."},
    Rule{"image-empty", kError, "The volume \"%1\" is empty.",
         "The screen \"Installation failed\"; the log says \"Empty dmg file! Please check the DMG file from config.\".",
         "Put the application at its top."},
    Rule{"image-no-application", kError, "At the top of the volume lies no application: %1.", kNotOneApplication,
         "Put one folder NAME.app at the top of the volume."},
    Rule{"image-two-applications", kError, "At the top of the volume lie %1 applications: %2.", kNotOneApplication,
         "Leave one there, and put the others into a folder."},
    Rule{"image-hidden-application", kError, "A hidden application lies at the top of the volume, and counts: %1.",
         kNotOneApplication, "Remove it; look for it with ls -a."},
    Rule{"image-application-case", kError, "\"%1\" does not end in .app in small letters.", kNotOneApplication,
         "Name it with .app."},
    Rule{"image-application-blanks", kWarning, "The application's name has blanks at its ends: \"%1\".",
         "Nothing; names that differ in a blank only are mixed up.", "Remove them."},
    Rule{"image-name-two-forms", kNote, "The name \"%1\" can be spelt in two ways that look alike.",
         "Nothing, as long as all spell it in one way: scripts and other systems may not find it.",
         "Use letters without accents in file names."},
    Rule{"image-application-no-folder", kError, "\"%1\" is no folder, so it is no application.", kNotStarted,
         "Put the application's folder there."},
    Rule{"image-no-info", kError, "The application has no Info.plist that can be read.", kNotStarted,
         "Add Contents/Info.plist with CFBundleExecutable and CFBundleIdentifier."},
    Rule{"image-no-identifier", kWarning, "The application has no CFBundleIdentifier.",
         "The application opens behind other windows.", "Add CFBundleIdentifier."},
    Rule{"image-installer-identifier", kError, "The application has the installer's own identifier, %1.",
         "The application, if it allows one copy only, ends at once.", "Give it an identifier of its own."},
    Rule{"image-no-program", kError, "There is no program Contents/MacOS/%1.", kNotStarted,
         "Name the program in CFBundleExecutable as it is called, case included."},
    Rule{"image-program-not-executable", kError, "The program %1 has no executable bit.", kNotStarted,
         "chmod +x before you make the image."},
    Rule{"image-not-a-program", kError, "%1 is neither a Mach-O program nor a script.", kNotStarted,
         "Look what was copied there."},
    Rule{"image-other-system", kNote, "%1 is a program for Linux (%2).", "On macOS: like a file that is no program.",
         "Put a Mach-O program there, unless this image is for trying things out."},
    Rule{"image-architecture", kError, "%1 is for %2 only: no system that the installer runs on can start it.",
         kNotStarted, "Build it for arm64 and x86_64."},
    Rule{"image-no-arm64", kWarning, "%1 has no part for arm64 (Apple silicon).",
         "On new Macs: a question whether to install Rosetta, or nothing where that is not to be had.",
         "Build it for arm64, too."},
    Rule{"image-no-x86_64", kWarning, "%1 has no part for x86_64 (Intel).", "On Intel Macs it does not start.",
         "Build it for x86_64, too."},
    Rule{"image-minimum-system", kWarning, "%1 needs macOS %2; the installer starts from %3 on.",
         "On older systems the application does not start.",
         "Build it for %3, or raise the bundle's own least system."},
    Rule{"image-unsigned", kError, "The part of %1 for %2 is not signed.",
         "On Apple silicon the application is killed at once.", "Sign it (codesign), ad hoc at least."},
    Rule{"image-large", kWarning, "The image and what it holds need %1 GB of free space at once.",
         "With less: the screen \"Installation failed\"; the log says Code=-3003.",
         "Have the application load the rest."},
};

} // namespace

std::span<const Rule> imageRules() {
    return kImages;
}

} // namespace portal::check
