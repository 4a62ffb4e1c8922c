#include "panel/x11_panel_support.h"

#include "app/x11_display.h"

#include <QCursor>
#include <QGuiApplication>

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

ButtonPressMonitor::ButtonPressMonitor(QObject* parent) : QObject(parent) {
    if (xcb_connection_t* c = connection()) {
        const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
        if (extension != nullptr && extension->present != 0) {
            opcode_ = extension->major_opcode;
        }
    }
}

ButtonPressMonitor::~ButtonPressMonitor() {
    setActive(false);
}

bool ButtonPressMonitor::select(bool on) {
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
    mask.mask = on ? XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS : 0;
    const auto cookie = xcb_input_xi_select_events_checked(c, rootWindow(c), 1, &mask.head);
    xcb_generic_error_t* error = xcb_request_check(c, cookie);
    const bool ok = error == nullptr;
    free(error);
    return ok;
}

bool ButtonPressMonitor::setActive(bool active) {
    if (active == active_) {
        return true;
    }
    if (active) {
        if (!select(true)) {
            return false;
        }
        QCoreApplication::instance()->installNativeEventFilter(this);
    } else {
        QCoreApplication::instance()->removeNativeEventFilter(this);
        select(false);
    }
    active_ = active;
    return true;
}

bool ButtonPressMonitor::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t" || message == nullptr) {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_GE_GENERIC) {
        return false;
    }
    const auto* generic = static_cast<const xcb_ge_generic_event_t*>(message);
    if (generic->extension != opcode_ || generic->event_type != XCB_INPUT_RAW_BUTTON_PRESS) {
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
