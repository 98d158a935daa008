// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/X11Panel.h>

#include <QGuiApplication>
#include <QWidget>

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace velmor {

namespace {

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    xcb_intern_atom_reply_t* const reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t atom = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

/// Without a screen there is an interface and nobody behind it.
xcb_connection_t* x11Connection()
{
    auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

} // namespace

void keepAboveFullScreen(QWidget& window)
{
    xcb_connection_t* const connection = x11Connection();
    if (!connection)
        return;
    // KWin keeps its first type above full-screen windows; others pass over what they don't know.
    const std::array types = {atom(connection, "_KDE_NET_WM_WINDOW_TYPE_CRITICAL_NOTIFICATION"),
                              atom(connection, "_NET_WM_WINDOW_TYPE_UTILITY")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        atom(connection, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, types.size(),
                        types.data());
}

void showOnAllDesktops(QWidget& window)
{
    xcb_connection_t* const connection = x11Connection();
    if (!connection)
        return;
    constexpr std::uint32_t allDesktops = 0xFFFFFFFF;
    constexpr std::uint32_t askedByUser = 2;
    const auto id = static_cast<xcb_window_t>(window.winId());
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = id;
    message.type = atom(connection, "_NET_WM_DESKTOP");
    message.data.data32[0] = allDesktops;
    message.data.data32[1] = askedByUser;
    // xfwm4 takes the property of a window that appears for the last desktop.
    const auto answer = xcb_query_tree(connection, id);
    if (xcb_query_tree_reply_t* const tree = xcb_query_tree_reply(connection, answer, nullptr)) {
        xcb_send_event(connection, 0, tree->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&message));
        std::free(tree);
    }
    xcb_flush(connection);
}

} // namespace velmor
