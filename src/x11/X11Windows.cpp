#include "x11/X11Windows.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace vellumix {

namespace {

template <typename Reply> using ReplyPtr = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply> ReplyPtr<Reply> owned(Reply* reply) {
    return ReplyPtr<Reply>(reply, &std::free);
}

xcb_connection_t* connection() {
    auto* x11 = qApp ? qApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace

std::vector<QRect> x11TopLevelFrames() {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return {};
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const auto tree = owned(xcb_query_tree_reply(c, xcb_query_tree(c, root), nullptr));
    if (!tree) {
        return {};
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    // All requests first, then the replies: one round trip's wait rather than one per window.
    std::vector<xcb_get_window_attributes_cookie_t> attributes(count);
    std::vector<xcb_get_geometry_cookie_t> geometries(count);
    for (int i = 0; i < count; ++i) {
        attributes[i] = xcb_get_window_attributes(c, children[i]);
        geometries[i] = xcb_get_geometry(c, children[i]);
    }
    std::vector<QRect> frames;
    // The tree lists children bottom to top.
    for (int i = count - 1; i >= 0; --i) {
        const auto attr = owned(xcb_get_window_attributes_reply(c, attributes[i], nullptr));
        const auto geometry = owned(xcb_get_geometry_reply(c, geometries[i], nullptr));
        if (!attr || !geometry || attr->map_state != XCB_MAP_STATE_VIEWABLE ||
            attr->_class == XCB_WINDOW_CLASS_INPUT_ONLY) {
            continue;
        }
        const int border = geometry->border_width;
        frames.emplace_back(geometry->x, geometry->y, geometry->width + 2 * border,
                            geometry->height + 2 * border);
    }
    return frames;
}

void x11Sync() {
    if (xcb_connection_t* c = connection()) {
        // A reply comes only after the server has handled every earlier request.
        owned(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    }
}

} // namespace vellumix
