#pragma once

#include <QRect>

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace quillon::test {

// A window of another program on the test's display, made through a connection of its own, as
// a desktop's bar or a window manager's frame is. Every change has reached the server when the
// call returns, so the program under test sees it at once.
class ForeignWindow {
public:
    // At `geometry` in its parent's coordinates; a top-level window where `parent` is 0.
    explicit ForeignWindow(QRect geometry, xcb_window_t parent = 0)
        : connection_(xcb_connect(nullptr, nullptr)), id_(xcb_generate_id(connection_)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        xcb_create_window(
            connection_, XCB_COPY_FROM_PARENT, id_, parent != 0 ? parent : screen->root,
            static_cast<int16_t>(geometry.x()), static_cast<int16_t>(geometry.y()),
            static_cast<uint16_t>(geometry.width()), static_cast<uint16_t>(geometry.height()), 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        sync();
    }
    ~ForeignWindow() { xcb_disconnect(connection_); }
    ForeignWindow(const ForeignWindow&) = delete;
    ForeignWindow& operator=(const ForeignWindow&) = delete;

    xcb_window_t id() const { return id_; }

    // _NET_WM_WINDOW_TYPE, e.g. "_NET_WM_WINDOW_TYPE_DOCK".
    ForeignWindow& setType(const char* type) {
        const xcb_atom_t value = atom(type);
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, atom("_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, 1, &value);
        sync();
        return *this;
    }

    // _NET_WM_STRUT: the space reserved at the left, right, top and bottom edges.
    ForeignWindow& setStrut(std::array<uint32_t, 4> strut) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, atom("_NET_WM_STRUT"),
                            XCB_ATOM_CARDINAL, 32, 4, strut.data());
        sync();
        return *this;
    }

    ForeignWindow& map() {
        xcb_map_window(connection_, id_);
        sync();
        return *this;
    }

private:
    xcb_atom_t atom(const char* name) {
        auto* reply = xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<uint16_t>(std::strlen(name)), name),
            nullptr);
        const xcb_atom_t result = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
        std::free(reply);
        return result;
    }

    void sync() {
        std::free(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }

    xcb_connection_t* connection_;
    xcb_window_t id_;
};

} // namespace quillon::test
