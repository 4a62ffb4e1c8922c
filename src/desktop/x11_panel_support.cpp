#include "desktop/x11_panel_support.h"

#include "desktop/x11_display.h"

#include <QCursor>
#include <QGuiApplication>

#include <xcb/shape.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <array>
#include <cstdint>
#include <vector>

namespace quillon::x11 {

bool compositorRunning() {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return false;
    }
    const auto cookie = xcb_get_selection_owner(c, atom(c, "_NET_WM_CM_S0"));
    xcb_get_selection_owner_reply_t* reply = xcb_get_selection_owner_reply(c, cookie, nullptr);
    const bool owned = reply != nullptr && reply->owner != XCB_WINDOW_NONE;
    free(reply);
    return owned;
}

void preparePanelWindow(QWindow& window, int shadowMargin) {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window.winId());
    // Qt keeps the states it finds on a window it maps and adds its own.
    const std::array<xcb_atom_t, 3> states{atom(c, "_NET_WM_STATE_ABOVE"),
                                           atom(c, "_NET_WM_STATE_SKIP_TASKBAR"),
                                           atom(c, "_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, atom(c, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32,
                        static_cast<uint32_t>(states.size()), states.data());
    const xcb_atom_t extents = atom(c, "_GTK_FRAME_EXTENTS");
    if (shadowMargin > 0) {
        const auto margin = static_cast<uint32_t>(shadowMargin);
        const std::array<uint32_t, 4> sides{margin, margin, margin, margin};
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, extents, XCB_ATOM_CARDINAL, 32, 4,
                            sides.data());
    } else {
        xcb_delete_property(c, id, extents);
    }
    xcb_flush(c);
}

void setInputRegion(QWindow& window, const QRegion& region) {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return;
    }
    const xcb_query_extension_reply_t* shape = xcb_get_extension_data(c, &xcb_shape_id);
    if (shape == nullptr || shape->present == 0) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window.winId());
    if (region.isEmpty()) {
        xcb_shape_mask(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, id, 0, 0, XCB_PIXMAP_NONE);
    } else {
        std::vector<xcb_rectangle_t> rectangles;
        for (const QRect& part : region) {
            rectangles.push_back({static_cast<int16_t>(part.x()), static_cast<int16_t>(part.y()),
                                  static_cast<uint16_t>(part.width()),
                                  static_cast<uint16_t>(part.height())});
        }
        xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                             id, 0, 0, static_cast<uint32_t>(rectangles.size()), rectangles.data());
    }
    xcb_flush(c);
}

bool windowManagerIgnoresPositions() {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return false;
    }
    // The window manager names itself on the window that _NET_SUPPORTING_WM_CHECK points at.
    const auto checkCookie = xcb_get_property(
        c, 0, rootWindow(c), atom(c, "_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1);
    xcb_get_property_reply_t* check = xcb_get_property_reply(c, checkCookie, nullptr);
    xcb_window_t manager = XCB_WINDOW_NONE;
    if (check != nullptr && xcb_get_property_value_length(check) == 4) {
        manager = *static_cast<const xcb_window_t*>(xcb_get_property_value(check));
    }
    free(check);
    if (manager == XCB_WINDOW_NONE) {
        return false;
    }
    const auto nameCookie =
        xcb_get_property(c, 0, manager, atom(c, "_NET_WM_NAME"), atom(c, "UTF8_STRING"), 0, 64);
    xcb_get_property_reply_t* name = xcb_get_property_reply(c, nameCookie, nullptr);
    bool wlroots = false;
    if (name != nullptr) {
        const QByteArray value(static_cast<const char*>(xcb_get_property_value(name)),
                               xcb_get_property_value_length(name));
        wlroots = value == "wlroots wm";
    }
    free(name);
    return wlroots;
}

InputMonitor::InputMonitor(QObject* parent) : QObject(parent) {
    if (xcb_connection_t* c = connection()) {
        const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
        if (extension != nullptr && extension->present != 0) {
            opcode_ = extension->major_opcode;
        }
    }
}

InputMonitor::~InputMonitor() {
    setActive(false);
}

bool InputMonitor::select(bool on, Scope scope) {
    xcb_connection_t* c = connection();
    if (c == nullptr || opcode_ < 0) {
        return false;
    }
    struct {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } mask{};
    mask.head.deviceid = XCB_INPUT_DEVICE_ALL_MASTER;
    mask.head.mask_len = 1;
    if (on) {
        mask.mask = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
        if (scope == Scope::buttonsKeysAndFocus) {
            mask.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
        }
    }
    const auto cookie = xcb_input_xi_select_events_checked(c, rootWindow(c), 1, &mask.head);
    xcb_generic_error_t* error = xcb_request_check(c, cookie);
    const bool ok = error == nullptr;
    free(error);
    return ok;
}

void InputMonitor::watchFocus(bool on) {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return;
    }
    const xcb_window_t root = rootWindow(c);
    uint32_t mask = rootMaskBefore_;
    if (on) {
        // Qt listens on the root window too: add to what it selected, and put that back later.
        xcb_get_window_attributes_reply_t* attributes =
            xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, root), nullptr);
        rootMaskBefore_ = attributes != nullptr ? attributes->your_event_mask : 0;
        free(attributes);
        mask = rootMaskBefore_ | XCB_EVENT_MASK_FOCUS_CHANGE;
        xcb_get_input_focus_reply_t* focus =
            xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr);
        focusAtStart_ = focus != nullptr ? focus->focus : xcb_window_t{XCB_WINDOW_NONE};
        free(focus);
    }
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(c);
}

bool InputMonitor::setActive(bool active, Scope scope) {
    if (active == active_) {
        return true;
    }
    if (active) {
        if (!select(true, scope)) {
            return false;
        }
        scope_ = scope;
        if (scope_ == Scope::buttonsKeysAndFocus) {
            watchFocus(true);
        }
        QCoreApplication::instance()->installNativeEventFilter(this);
    } else {
        QCoreApplication::instance()->removeNativeEventFilter(this);
        select(false, scope_);
        if (scope_ == Scope::buttonsKeysAndFocus) {
            watchFocus(false);
        }
    }
    active_ = active;
    return true;
}

bool InputMonitor::isEscape(uint32_t keycode) const {
    xcb_connection_t* c = connection();
    if (c == nullptr || keycode > 255) {
        return false;
    }
    constexpr xcb_keysym_t escapeKeysym = 0xff1b;
    // The keyboard's map may change with the compositor's keymap: ask the server each time.
    const auto cookie = xcb_get_keyboard_mapping(c, static_cast<xcb_keycode_t>(keycode), 1);
    xcb_get_keyboard_mapping_reply_t* mapping = xcb_get_keyboard_mapping_reply(c, cookie, nullptr);
    bool escape = false;
    if (mapping != nullptr && xcb_get_keyboard_mapping_keysyms_length(mapping) > 0) {
        escape = xcb_get_keyboard_mapping_keysyms(mapping)[0] == escapeKeysym;
    }
    free(mapping);
    return escape;
}

bool InputMonitor::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t" || message == nullptr) {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const uint8_t type = event->response_type & 0x7f;
    if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
        xcb_connection_t* c = connection();
        const auto* change = static_cast<const xcb_focus_in_event_t*>(message);
        if (c != nullptr && change->event == rootWindow(c)) {
            xcb_get_input_focus_reply_t* focus =
                xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr);
            const bool moved = focus != nullptr && focus->focus != focusAtStart_;
            free(focus);
            if (moved) {
                emit focusMoved();
            }
        }
        return false;
    }
    if (type != XCB_GE_GENERIC) {
        return false;
    }
    const auto* generic = static_cast<const xcb_ge_generic_event_t*>(message);
    if (generic->extension != opcode_) {
        return false;
    }
    if (generic->event_type == XCB_INPUT_RAW_KEY_PRESS) {
        const auto* key = static_cast<const xcb_input_raw_key_press_event_t*>(message);
        if (isEscape(key->detail)) {
            emit escapePressed();
        }
        return false;
    }
    if (generic->event_type != XCB_INPUT_RAW_BUTTON_PRESS) {
        return false;
    }
    const auto* press = static_cast<const xcb_input_raw_button_press_event_t*>(message);
    // Left and right presses only, as a mouse-down does; wheel steps are presses too.
    if (press->detail == 1 || press->detail == 3) {
        // Raw events carry no position; the pointer is where the press happened.
        emit pressed(QCursor::pos());
    }
    return false;
}

} // namespace quillon::x11
