#pragma once

#include <memory>

#include "platform/desktop/Window.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

/// What covers the files that have been cut.
using FinderCutOverlayWindow = NSWindow;

/// Ends the highlight of what has been cut in a file manager. No desktop tells where a file manager shows its
/// files, so there is never one. Main thread only.
class FinderCutHighlighter {
public:
    static FinderCutHighlighter& shared() { return SharedInstances::current().get<FinderCutHighlighter>(); }

    void clear() {
        if (timer) timer->invalidate();
        timer.reset();
        if (overlay) overlay->orderOut();
        overlay.reset();
    }

    std::unique_ptr<FinderCutOverlayWindow> overlay;
    std::unique_ptr<NSTimer> timer;
};

}  // namespace vellumix
