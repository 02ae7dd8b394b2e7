#include "hdiutil/front/Extraction.h"

#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImageCheck.h"
#include "hdiutil/image/ImageError.h"

#include <csignal>
#include <optional>
#include <string>
#include <thread>

namespace hdi {
namespace {

std::atomic<bool> interrupted = false; // set by the signal handler
static_assert(std::atomic<bool>::is_always_lock_free);

// Runs the check on a thread of its own; a failed one ends the extraction.
class CheckBeside {
public:
    CheckBeside(const DiskImage& image, bool wanted, std::atomic<bool>& stop) {
        if (wanted) {
            thread_ = std::thread([this, &image, &stop] {
                damage_ = checkImage(image);
                if (!damage_.empty()) {
                    stop = true;
                }
            });
        }
    }
    CheckBeside(const CheckBeside&) = delete;
    CheckBeside& operator=(const CheckBeside&) = delete;
    ~CheckBeside() { finish(); }

    const std::string& finish() {
        if (thread_.joinable()) {
            thread_.join();
        }
        return damage_;
    }

private:
    std::string damage_;
    std::thread thread_;
};

} // namespace

void catchInterruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = true; };
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

void extractChecked(const PreparedImage& prepared, const std::function<void(const std::atomic<bool>& stop)>& extract) {
    CheckBeside check(*prepared.opened.image, prepared.checkBeside, interrupted);
    std::optional<AttachError> failure;
    try {
        extract(interrupted);
    } catch (const ImageError& error) {
        failure = attachFailure(error);
    } catch (const AttachError& error) {
        failure = error;
    }
    if (const std::string& damage = check.finish(); !damage.empty()) {
        throw AttachError("image data corrupted (" + damage + ")");
    }
    if (failure) {
        throw *failure;
    }
}

} // namespace hdi
