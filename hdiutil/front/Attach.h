#pragma once

#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/OpenedImage.h"
#include "hdiutil/front/VolumesFolder.h"
#include "hdiutil/image/Password.h"

#include <optional>
#include <string>
#include <vector>

namespace hdi {

class AttachedState;

struct AttachOptions {
    std::string imagePath;                 // absolute
    std::optional<std::string> mountPoint; // absolute
    bool verify = true;
    bool passwordFromInput = false;
    PasswordPtr password; // asked for by attachImage(); overwritten once the image is open
};

struct AttachResult {
    std::vector<AttachedRow> rows;
    std::string messages; // lines for standard error: licences, warnings
    bool isNew = false;   // false: it was attached before
};

// Attaches an image: through FUSE when that is to be had, else by extracting it. Returns when the volumes can be used.
// Call it while the process has one thread: the daemon is a fork of it. Throws FrontError, and then nothing is left;
// also when the image is attached already, elsewhere than at the mount point that was asked for.
AttachResult attachImage(AttachOptions options);

// What both ways have in common.

// The image, opened and, when it is small enough, checked. Throws FrontError.
struct PreparedImage {
    OpenedImage opened;
    std::string messages;
    bool checkBeside = false; // still to be done
};
PreparedImage prepareImage(const AttachOptions& options);

// The rows of the same image when it is attached already; waits while it is just being extracted. `state` is the lock
// in, and either held still or, when waiting was needed, held anew when this returns. Throws FrontError when a check of
// that image has failed meanwhile.
std::optional<AttachResult> findAttached(std::optional<AttachedState>& state, const VolumesFolder& volumes,
                                         const ImageIdentity& identity);

// A record with everything that does not depend on the way of attaching.
AttachRecord newRecord(const AttachOptions& options, const ImageIdentity& identity, int disk, AttachMethod method);

// identityOf() or the wording of a missing image.
ImageIdentity requireIdentity(const std::string& path);

} // namespace hdi
