#include "platform/x11/windows/WindowPixels.h"

#include <sys/socket.h>

#include <algorithm>

#include "platform/foundation/bytes/Data.h"
#include "platform/linux/files/PosixHandles.h"

namespace vellumix::x11 {

namespace {

constexpr int bytesPerPixel = 4;
/// One is drawn again and again, and others step in while the server still reads it.
constexpr std::size_t sharedBuffers = 3;
constexpr int largestSide = 16384;
/// A PutImage request without its data (X protocol, appendix B), with the longer length field.
constexpr std::size_t requestOverhead = 28;

bool isOnThisMachine(xcb_connection_t* connection) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    return getsockname(xcb_get_file_descriptor(connection), reinterpret_cast<sockaddr*>(&address), &length) ==
               0 &&
           address.ss_family == AF_UNIX;
}

}  // namespace

struct WindowPixels::Buffer {
    int width = 0;
    int height = 0;
    /// One of the two holds the pixels.
    MappedMemory shared;
    Bytes own;
    xcb_shm_seg_t segment = XCB_NONE;
    /// How many requests the server has still to read it for.
    int readers = 0;

    std::span<std::uint8_t> memory() { return segment ? shared.bytes() : std::span<std::uint8_t>(own); }
};

WindowPixels::WindowPixels(Connection& connection, std::uint8_t depth)
    : connection(connection), depth(depth) {}

WindowPixels::~WindowPixels() { release(); }

bool WindowPixels::canShare() {
    if (canShare_) return *canShare_;
    auto* const xcb = connection.xcb();
    const auto* extension = xcb_get_extension_data(xcb, &xcb_shm_id);
    const auto version = extension && extension->present && isOnThisMachine(xcb)
                             ? xcb::await<xcb_shm_query_version_reply>(xcb, xcb_shm_query_version(xcb))
                             : nullptr;
    // Descriptors can be handed over since 1.2.
    canShare_ = version && (version->major_version > 1 || version->minor_version >= 2);
    if (*canShare_) {
        completion = static_cast<std::uint8_t>(extension->first_event + XCB_SHM_COMPLETION);
        events = connection.observeExtensions([this](const auto& event) {
            if (xcb::typeOf(event) == completion) {
                complete(xcb::as<xcb_shm_completion_event_t>(event).shmseg);
            }
        });
    }
    return *canShare_;
}

void WindowPixels::complete(xcb_shm_seg_t segment) {
    for (auto& buffer : buffers) {
        if (buffer.segment == segment && buffer.readers > 0) --buffer.readers;
    }
    const auto isRead = [](const Buffer& buffer) { return buffer.readers > 0; };
    if (std::ranges::any_of(buffers, isRead)) return;
    for (auto at = buffers.begin(); at != buffers.end();) {
        auto& buffer = *at++;
        if (&buffer != present && &buffer != drawn) discard(buffer);
    }
}

void WindowPixels::discard(Buffer& buffer) {
    if (present == &buffer) present = nullptr;
    if (drawn == &buffer) drawn = nullptr;
    // The server keeps its own mapping until it has done what was asked before.
    if (buffer.segment) xcb_shm_detach(connection.xcb(), buffer.segment);
    buffers.remove_if([&](const Buffer& one) { return &one == &buffer; });
}

PixelBuffer WindowPixels::begin(int width, int height) {
    drawn = nullptr;
    if (width <= 0 || height <= 0 || width > largestSide || height > largestSide) return {};
    // Those of another size go, the present one too: it can't be shown any more.
    for (auto at = buffers.begin(); at != buffers.end();) {
        auto& buffer = *at++;
        if (buffer.width != width || buffer.height != height) discard(buffer);
    }
    for (auto& buffer : buffers) {
        if (buffer.readers == 0 && (!drawn || buffer.segment)) drawn = &buffer;
    }
    // What is in it goes with the first stroke.
    if (drawn == present) present = nullptr;
    const int stride = width * bytesPerPixel;
    const auto bytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(height);
    if (!drawn) {
        Buffer fresh;
        fresh.width = width;
        fresh.height = height;
        if (buffers.size() < sharedBuffers && canShare()) {
            linux_desktop::posix::Descriptor file(memfd_create("vellumix-window", MFD_CLOEXEC));
            if (file && ftruncate(file.get(), static_cast<off_t>(bytes)) == 0) {
                fresh.shared = MappedMemory(
                    mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0), bytes);
            }
            if (!fresh.shared.bytes().empty()) {
                auto* const xcb = connection.xcb();
                fresh.segment = xcb_generate_id(xcb);
                // XCB closes the descriptor when it has sent it.
                if (!xcb::succeeded(xcb,
                                    xcb_shm_attach_fd_checked(xcb, fresh.segment, file.release(), true))) {
                    fresh.segment = XCB_NONE;
                    fresh.shared = {};
                    canShare_ = false;
                }
            }
        }
        if (!fresh.segment) fresh.own.resize(bytes);
        buffers.push_back(std::move(fresh));
        drawn = &buffers.back();
    }
    return {drawn->memory(), width, height, stride};
}

bool WindowPixels::end() {
    if (!drawn) return false;
    auto* const before = std::exchange(present, std::exchange(drawn, nullptr));
    // A sent buffer was a stopgap while the shared ones were read.
    if (before && !before->segment && canShare()) discard(*before);
    return true;
}

bool WindowPixels::has(int width, int height) const {
    return present && present->width == width && present->height == height;
}

void WindowPixels::put(xcb_drawable_t drawable, xcb_gcontext_t context) {
    if (!present) return;
    auto* const xcb = connection.xcb();
    const auto width = static_cast<std::uint16_t>(present->width);
    const auto height = static_cast<std::uint16_t>(present->height);
    if (present->segment) {
        ++present->readers;
        xcb_shm_put_image(xcb, drawable, context, width, height, 0, 0, width, height, 0, 0, depth,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, true, present->segment, 0);
        return;
    }
    const std::size_t rowBytes = std::size_t{width} * bytesPerPixel;
    const auto rowsAtOnce = std::max<std::size_t>(1, (connection.pieceBytes() - requestOverhead) / rowBytes);
    for (std::size_t row = 0; row < height; row += rowsAtOnce) {
        const auto rows = std::min(rowsAtOnce, height - row);
        xcb_put_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, context, width,
                      static_cast<std::uint16_t>(rows), 0, static_cast<std::int16_t>(row), 0, depth,
                      static_cast<std::uint32_t>(rows * rowBytes), present->memory().data() + row * rowBytes);
    }
}

void WindowPixels::release() {
    while (!buffers.empty()) discard(buffers.front());
}

}  // namespace vellumix::x11
