#include "hdiutil/front/Arguments.h"
#include "hdiutil/image/Codec.h"

namespace hdi {
namespace {

// The formats that images are made with, as "UDRO|UDZO".
std::string formatNames() {
    std::string names;
    for (const Codec& codec : codecs()) {
        if (codec.encode != nullptr) {
            names += (names.empty() ? "" : "|") + std::string(codec.format);
        }
    }
    return names;
}

} // namespace

std::string helpText() {
    return "Usage: hdiutil VERB [OPTIONS] [ARGUMENT]\n"
           "\n"
           "  attach, mount IMAGE     show the volumes of a disk image below /Volumes; prints one line per partition\n"
           "      -mountpoint FOLDER  use this folder instead of /Volumes/NAME (image with one volume); an empty one, "
           "or\n"
           "                          one that is made now and goes with detach\n"
           "      -noverify           do not check the image's checksum\n"
           "      -plist              print a property list instead of the table\n"
           "      -quiet              print nothing; the exit status tells\n"
           "      -stdinpass          the password of an encrypted image is the standard input; for all verbs that "
           "read one\n"
           "      -readonly, -nobrowse  accepted; volumes are always read-only and never shown\n"
           "  detach, eject DISK      take back what attach did; DISK is /Volumes/NAME, a folder, diskN or /dev/diskN\n"
           "  unmount VOLUME          the same for one volume, the disk stays attached\n"
           "      -force              also when files are open\n"
           "  info [-plist]           list what is attached\n"
           "  imageinfo IMAGE [-plist]  describe an image\n"
           "  verify IMAGE            check all checksums of an image\n"
           "  create -srcfolder FOLDER -volname NAME [OPTIONS] IMAGE\n"
           "      -format " +
           formatNames() +
           "   (UDZO)\n"
           "      -fs HFS+|HFSX                      (HFS+)\n"
           "      -layout NONE|GPTSPUD|SPUD          (GPTSPUD)\n"
           "      -encryption AES-128|AES-256        encrypt it with a password (-stdinpass, or asked for)\n"
           "      -licence FILE                      a text to be shown when the image is mounted (UTF-8)\n"
           "      -size SIZE                         at least so large (20m, 1g); without -srcfolder an empty volume\n"
           "      -ov                                replace an image that is there\n"
           "      -o IMAGE                           the same as IMAGE at the end\n"
           "  convert IMAGE -format FORMAT -o IMAGE [-ov] [-encryption AES-128|AES-256]\n"
           "                          write the same disk in another format: those of create, UDRW and UDTO (raw)\n"
           "  extract IMAGE FOLDER    copy what the volumes show into a folder; -noverify\n"
           "  --help, --version\n"
           "\n"
           "Exit status: 0 done, 1 failed, 16 busy, 64 wrong usage.\n"
           "/Volumes stands for $QN_SYSTEM_ROOT/Volumes, else $XDG_RUNTIME_DIR/Volumes, else /tmp/volumes-UID.\n";
}

} // namespace hdi
