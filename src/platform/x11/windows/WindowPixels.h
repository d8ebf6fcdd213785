#pragma once

#include <xcb/shm.h>

#include <list>
#include <vector>

#include "platform/desktop/Window.h"
#include "platform/x11/server/Connection.h"
#include "platform/x11/windows/SharedMemory.h"

namespace vellumix::x11 {

/// The buffers of one window: shared with the server (MIT-SHM 1.2) where it is on this machine, else sent.
/// Never waits for the server to have read one: it takes another meanwhile, and keeps one when all are read.
/// Main thread.
class WindowPixels {
public:
    /// `depth` is that of what will be drawn on, 24 or 32.
    WindowPixels(Connection& connection, std::uint8_t depth);
    ~WindowPixels();
    WindowPixels(const WindowPixels&) = delete;
    WindowPixels& operator=(const WindowPixels&) = delete;

    /// A buffer of that size, in pixels, that nobody reads, often the present one. Empty without memory.
    PixelBuffer begin(int width, int height);
    /// Makes the buffer that was begun the present one; false when there is none.
    bool end();
    /// Whether there is a present one of that size.
    bool has(int width, int height) const;
    /// Puts the present one on a window or pixmap.
    void put(xcb_drawable_t drawable, xcb_gcontext_t context);
    /// Gives all memory back.
    void release();

private:
    struct Buffer;

    bool canShare();
    void complete(xcb_shm_seg_t segment);
    void discard(Buffer& buffer);

    Connection& connection;
    std::uint8_t depth;
    std::list<Buffer> buffers;
    Buffer* drawn = nullptr;
    Buffer* present = nullptr;
    std::optional<bool> canShare_;
    std::uint8_t completion = 0;
    Observation events;
};

}  // namespace vellumix::x11
