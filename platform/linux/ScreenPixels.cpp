#include "platform/linux/ScreenPixels.h"

#include "platform/linux/XcbReply.h"

#include <QGuiApplication>
#include <QScreen>

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <string>

namespace platform {

namespace {

QString nameOf(xcb_connection_t* connection, xcb_atom_t atom) {
    const XcbReply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, atom), nullptr));
    return reply ? QString::fromUtf8(xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()))
                 : QString();
}

} // namespace

std::optional<QSize> pixelsOf(const QScreen& screen) {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) { // without a display there is none
        return std::nullopt;
    }
    xcb_connection_t* const connection = x11->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const XcbReply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(connection, xcb_randr_get_monitors(connection, root, 1), nullptr));
    if (!reply) {
        return std::nullopt;
    }
    for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
        if (nameOf(connection, each.data->name) == screen.name()) {
            return QSize(each.data->width, each.data->height);
        }
    }
    return std::nullopt;
}

} // namespace platform
