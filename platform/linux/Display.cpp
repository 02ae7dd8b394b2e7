#include "platform/Display.h"

#include <xcb/xcb.h>

#include <cstdlib>

namespace platform {

bool displayIsAvailable() {
    if (std::getenv("WAYLAND_DISPLAY"))
        return true;
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

} // namespace platform
