#include "platform/linux/WindowManager.h"

#include "platform/linux/XcbReply.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

namespace platform {
namespace {

// A connection to the display that DISPLAY names, and the root window of its screen.
class Display {
public:
    Display() : connection_(std::getenv("DISPLAY") != nullptr ? xcb_connect(nullptr, &screen_) : nullptr) {
        if (connection_ != nullptr && xcb_connection_has_error(connection_) == 0) {
            findRoot();
        }
    }
    ~Display() {
        if (connection_ != nullptr) {
            xcb_disconnect(connection_);
        }
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    bool isUsable() const { return root_ != XCB_NONE; }
    xcb_window_t root() const { return root_; }

    xcb_atom_t atom(std::string_view name) const {
        const auto cookie = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
        const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    // The 32-bit values of a property; none when the window has no such property.
    std::vector<std::uint32_t> values(xcb_window_t window, std::string_view property, xcb_atom_t type) const {
        constexpr std::uint32_t kMost = 64 * 1024;
        const auto cookie = xcb_get_property(connection_, 0, window, atom(property), type, 0, kMost);
        const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, cookie, nullptr));
        if (!reply || reply->format != 32) {
            return {};
        }
        std::vector<std::uint32_t> found(static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / 4);
        if (!found.empty()) {
            std::memcpy(found.data(), xcb_get_property_value(reply.get()), found.size() * 4);
        }
        return found;
    }

    std::optional<pid_t> processOf(xcb_window_t window) const {
        const auto process = values(window, "_NET_WM_PID", XCB_ATOM_CARDINAL);
        return process.empty() ? std::nullopt : std::optional(static_cast<pid_t>(process.front()));
    }

    void requestActivation(xcb_window_t window) const {
        constexpr std::uint32_t kFromPager = 2; // a request of the user's, which is not held back
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = atom("_NET_ACTIVE_WINDOW");
        event.data.data32[0] = kFromPager;
        event.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(connection_, 0, root_, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
    }

    // Returns when the server has seen all requests: this process may end right after.
    void synchronize() const {
        const auto cookie = xcb_get_input_focus(connection_);
        const XcbReply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(connection_, cookie, nullptr));
    }

private:
    void findRoot() {
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
        for (int number = 0; screens.rem > 0; xcb_screen_next(&screens), ++number) {
            if (number == screen_) {
                root_ = screens.data->root;
            }
        }
    }

    int screen_ = 0;
    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_NONE;
};

} // namespace

std::optional<pid_t> processOfActiveWindow() {
    const Display display;
    if (!display.isUsable()) {
        return std::nullopt;
    }
    const auto active = display.values(display.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW);
    return active.empty() || active.front() == XCB_NONE ? std::nullopt : display.processOf(active.front());
}

bool activateWindowsOfProcess(pid_t process) {
    const Display display;
    if (!display.isUsable()) {
        return false;
    }
    bool asked = false;
    for (const xcb_window_t window : display.values(display.root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW)) {
        if (display.processOf(window) == process) {
            display.requestActivation(window);
            asked = true;
        }
    }
    display.synchronize();
    return asked;
}

} // namespace platform
