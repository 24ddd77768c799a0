#include "app/OlderTray.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace {

template <typename Answer>
std::unique_ptr<Answer, decltype(&std::free)> owned(Answer *answer) {
    return {answer, &std::free};
}

xcb_atom_t atomOf(xcb_connection_t *display, std::string_view name) {
    const auto cookie = xcb_intern_atom(display, false, static_cast<std::uint16_t>(name.size()), name.data());
    const auto atom = owned(xcb_intern_atom_reply(display, cookie, nullptr));
    return atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
}

/// What a window tells this program is one setting for all its parts: what Qt has asked for stays.
void listenToStructure(xcb_connection_t *display, xcb_window_t window) {
    const auto facts =
        owned(xcb_get_window_attributes_reply(display, xcb_get_window_attributes(display, window), nullptr));
    if (!facts)
        return;
    const std::uint32_t mask = facts->your_event_mask | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(display, window, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(display);
}

} // namespace

OlderTray::~OlderTray() {
    if (qApp)
        qApp->removeNativeEventFilter(this);
}

void OlderTray::watch() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *display = x11 ? x11->connection() : nullptr;
    if (!display) // drawing offscreen also counts as X11
        return;
    manager = atomOf(display, "MANAGER");
    selection = atomOf(display, "_NET_SYSTEM_TRAY_S0");
    // Listening comes before looking, so that none can slip in between.
    qApp->installNativeEventFilter(this);
    listenToStructure(display, xcb_setup_roots_iterator(xcb_get_setup(display)).data->root);
    const auto owner =
        owned(xcb_get_selection_owner_reply(display, xcb_get_selection_owner(display, selection), nullptr));
    if (owner && owner->owner != XCB_WINDOW_NONE)
        Q_EMIT appeared();
}

bool OlderTray::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_client_message_event_t *>(message);
    if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && event->type == manager &&
        event->data.data32[1] == selection)
        Q_EMIT appeared();
    return false;
}
