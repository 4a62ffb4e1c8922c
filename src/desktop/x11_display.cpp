#include "desktop/x11_display.h"

#include <QGuiApplication>
#include <QtGui/qguiapplication_platform.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

namespace quillon::x11 {
namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeReply>;

std::vector<xcb_window_t> children(xcb_connection_t* c, xcb_window_t window) {
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
    if (!tree) {
        return {};
    }
    const xcb_window_t* first = xcb_query_tree_children(tree.get());
    return {first, first + xcb_query_tree_children_length(tree.get())};
}

// The windows of `windows` that are mapped and, with all their ancestors, shown.
std::vector<xcb_window_t> viewable(xcb_connection_t* c, const std::vector<xcb_window_t>& windows) {
    std::vector<xcb_get_window_attributes_cookie_t> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        cookies.push_back(xcb_get_window_attributes(c, window));
    }
    std::vector<xcb_window_t> shown;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, cookies[i], nullptr));
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE) {
            shown.push_back(windows[i]);
        }
    }
    return shown;
}

xcb_get_property_cookie_t atomsOf(xcb_connection_t* c, xcb_window_t window, xcb_atom_t property,
                                  xcb_atom_t type) {
    return xcb_get_property(c, 0, window, property, type, 0, 32);
}

// Whether the reply holds 32-bit values, one of them `wanted` (or, for 0, any that is not 0).
bool holds(xcb_connection_t* c, xcb_get_property_cookie_t cookie, uint32_t wanted) {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(c, cookie, nullptr));
    if (!reply || reply->format != 32) {
        return false;
    }
    const auto* values = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    const auto* end = values + reply->value_len;
    return wanted != 0 ? std::find(values, end, wanted) != end
                       : std::any_of(values, end, [](uint32_t value) { return value != 0; });
}

} // namespace

bool isX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

xcb_connection_t* connection() {
    if (!isX11()) {
        return nullptr;
    }
    auto* native = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return native != nullptr ? native->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t* c) {
    return xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
}

xcb_atom_t atom(xcb_connection_t* c, const char* name) {
    const auto cookie = xcb_intern_atom(c, 0, static_cast<uint16_t>(qstrlen(name)), name);
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(c, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

QList<QRect> barWindows() {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return {};
    }
    const xcb_window_t root = rootWindow(c);
    const xcb_atom_t windowType = atom(c, "_NET_WM_WINDOW_TYPE");
    const xcb_atom_t dock = atom(c, "_NET_WM_WINDOW_TYPE_DOCK");
    const xcb_atom_t strut = atom(c, "_NET_WM_STRUT");
    const xcb_atom_t strutPartial = atom(c, "_NET_WM_STRUT_PARTIAL");

    // A framing window manager's frames are the top-level windows; the bar is then a child.
    std::vector<xcb_window_t> candidates = viewable(c, children(c, root));
    const std::size_t topLevels = candidates.size();
    for (std::size_t i = 0; i < topLevels; ++i) {
        const std::vector<xcb_window_t> inner = viewable(c, children(c, candidates[i]));
        candidates.insert(candidates.end(), inner.begin(), inner.end());
    }

    struct Asked {
        xcb_get_property_cookie_t type;
        xcb_get_property_cookie_t strut;
        xcb_get_property_cookie_t strutPartial;
        xcb_get_geometry_cookie_t geometry;
        xcb_translate_coordinates_cookie_t origin;
    };
    std::vector<Asked> asked;
    asked.reserve(candidates.size());
    for (const xcb_window_t window : candidates) {
        asked.push_back({
            .type = atomsOf(c, window, windowType, XCB_ATOM_ATOM),
            .strut = atomsOf(c, window, strut, XCB_ATOM_CARDINAL),
            .strutPartial = atomsOf(c, window, strutPartial, XCB_ATOM_CARDINAL),
            .geometry = xcb_get_geometry(c, window),
            .origin = xcb_translate_coordinates(c, window, root, 0, 0),
        });
    }
    QList<QRect> bars;
    for (const Asked& window : asked) {
        // Every reply is collected, so that none is left waiting on the connection.
        const bool isDock = holds(c, window.type, dock);
        const bool reservesEdge = holds(c, window.strut, 0);
        const bool reservesPartOfEdge = holds(c, window.strutPartial, 0);
        const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, window.geometry, nullptr));
        const Reply<xcb_translate_coordinates_reply_t> origin(
            xcb_translate_coordinates_reply(c, window.origin, nullptr));
        if ((isDock || reservesEdge || reservesPartOfEdge) && geometry && origin) {
            bars.append(QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height));
        }
    }
    return bars;
}

} // namespace quillon::x11
