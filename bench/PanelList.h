#pragma once

#include "core/history/Store.h"
#include "views/controls/Looks.h"
#include "views/list/ClipboardListView.h"

namespace vellumix::bench {

/// The list as the panel shows it, with nobody behind its buttons.
inline view::View listOf(Store& store) {
    const ClipboardListView list{
        .onPasteAndClose = [](const ClipboardItem&) {},
        .onLock = [](const ClipboardItem&) {},
        .onUnlock = [](const ClipboardItem&) {},
        .onRequestUnlock = [](const ClipboardItem&, const String&, const ClipboardListView::Answer&) {}};
    return themed(view::View(list).environment(&store));
}

}  // namespace vellumix::bench
