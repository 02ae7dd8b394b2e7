#include "platform/WindowSystem.h"

#include "platform/linux/XcbReply.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstring>
#include <string>
#include <utility>

namespace platform {

namespace {

// Null when the display is no X server.
xcb_connection_t* connectionToX() {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

xcb_atom_t compositorSelection(xcb_connection_t* connection) {
    static const xcb_atom_t selection = [connection] {
        const std::string name = "_NET_WM_CM_S0";
        const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
        const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    }();
    return selection;
}

// Sees each change of the compositor's selection.
class SelectionFilter : public QAbstractNativeEventFilter {
public:
    SelectionFilter(std::uint8_t event, xcb_atom_t selection, std::function<void()> changed)
        : event_(event), selection_(selection), changed_(std::move(changed)) {}

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override {
        if (type != "xcb_generic_event_t") {
            return false;
        }
        const auto* const event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7f) != event_) {
            return false;
        }
        const auto* const notify = static_cast<const xcb_xfixes_selection_notify_event_t*>(message);
        if (notify->selection == selection_) {
            changed_();
        }
        return false;
    }

private:
    std::uint8_t event_;
    xcb_atom_t selection_;
    std::function<void()> changed_;
};

void setShape(const QWindow& window, xcb_shape_sk_t kind, const std::vector<QRect>& rectangles) {
    xcb_connection_t* const connection = connectionToX();
    if (connection == nullptr || window.handle() == nullptr) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window.winId());
    if (rectangles.empty()) {
        xcb_shape_mask(connection, XCB_SHAPE_SO_SET, kind, id, 0, 0, XCB_PIXMAP_NONE);
        return;
    }
    std::vector<xcb_rectangle_t> native;
    native.reserve(rectangles.size());
    for (const QRect& rect : rectangles) {
        native.push_back({static_cast<std::int16_t>(rect.x()), static_cast<std::int16_t>(rect.y()),
                          static_cast<std::uint16_t>(rect.width()), static_cast<std::uint16_t>(rect.height())});
    }
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, id, 0, 0,
                         static_cast<std::uint32_t>(native.size()), native.data());
}

} // namespace

bool compositorIsRunning() {
    xcb_connection_t* const connection = connectionToX();
    if (connection == nullptr) {
        return true;
    }
    const xcb_atom_t selection = compositorSelection(connection);
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

bool windowsHaveShadowsOfTheirOwn() {
    return false;
}

bool programsHaveAMenu() {
    return false;
}

void watchCompositor(std::function<void()> changed) {
    xcb_connection_t* const connection = connectionToX();
    if (connection == nullptr) {
        return;
    }
    const xcb_query_extension_reply_t* const xfixes = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (xfixes == nullptr || xfixes->present == 0) {
        return;
    }
    const xcb_atom_t selection = compositorSelection(connection);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_xfixes_select_selection_input(connection, root, selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    const auto event = static_cast<std::uint8_t>(xfixes->first_event + XCB_XFIXES_SELECTION_NOTIFY);
    static SelectionFilter filter(event, selection, std::move(changed));
    qGuiApp->installNativeEventFilter(&filter);
}

void flushDisplay() {
    if (xcb_connection_t* const connection = connectionToX()) {
        xcb_flush(connection);
    }
}

void setWindowShape(const QWindow& window, const std::vector<QRect>& rectangles) {
    setShape(window, XCB_SHAPE_SK_BOUNDING, rectangles);
}

void setWindowInputShape(const QWindow& window, const std::vector<QRect>& rectangles) {
    setShape(window, XCB_SHAPE_SK_INPUT, rectangles);
}

} // namespace platform
