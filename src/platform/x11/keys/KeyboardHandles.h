#pragma once

#include <xcb-imdkit/imclient.h>
#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon.h>

#include <memory>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of xkbcommon and of the input method's library that this folder owns, one a line.
namespace vellumix::x11::xkb {

using Context = std::unique_ptr<xkb_context, HandleDeleter<xkb_context_unref>>;
using Keymap = std::unique_ptr<xkb_keymap, HandleDeleter<xkb_keymap_unref>>;
using State = std::unique_ptr<xkb_state, HandleDeleter<xkb_state_unref>>;
using ComposeTable = std::unique_ptr<xkb_compose_table, HandleDeleter<xkb_compose_table_unref>>;
using ComposeState = std::unique_ptr<xkb_compose_state, HandleDeleter<xkb_compose_state_unref>>;

}  // namespace vellumix::x11::xkb

namespace vellumix::x11::xim {

/// Without the closing, the library forgets to free the requests that are under way.
inline void destroyInputMethod(xcb_xim_t* method) {
    xcb_xim_close(method);
    xcb_xim_destroy(method);
}
using InputMethod = std::unique_ptr<xcb_xim_t, HandleDeleter<destroyInputMethod>>;

}  // namespace vellumix::x11::xim
