#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace vellumix {

/// Memory in huge pages where the system has them: a page fault for every 4 KB costs more than filling them.
/// Throws std::bad_alloc where there is none, as `new` does.
void* allocateLarge(std::size_t size);
void freeLarge(void* memory, std::size_t size);

/// Leaves the elements of a grown vector unwritten, as buffers of megabytes are filled by their reader
/// anyway, and takes large buffers in huge pages.
template <class T>
struct UninitialisedAllocator : std::allocator<T> {
    /// In bytes. A history with images passes it; an image alone seldom does, and would waste the rest of its
    /// last page.
    static constexpr std::size_t largeFrom = std::size_t{8} << 20;

    template <class U>
    struct rebind {
        using other = UninitialisedAllocator<U>;
    };
    UninitialisedAllocator() = default;
    template <class U>
    UninitialisedAllocator(const UninitialisedAllocator<U>&) {}
    T* allocate(std::size_t count) {
        if (count * sizeof(T) < largeFrom) return std::allocator<T>::allocate(count);
        return static_cast<T*>(allocateLarge(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) {
        if (count * sizeof(T) < largeFrom) return std::allocator<T>::deallocate(memory, count);
        freeLarge(memory, count * sizeof(T));
    }
    template <class U>
    void construct(U* place) {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Arguments>
    void construct(U* place, Arguments&&... arguments) {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};

/// A buffer under construction. `resize` leaves new bytes unwritten.
using Bytes = std::vector<std::uint8_t, UninitialisedAllocator<std::uint8_t>>;

/// A view of bytes that somebody else keeps alive.
using ByteView = std::span<const std::uint8_t>;

inline ByteView viewOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
inline std::string_view asText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline bool sameBytes(ByteView a, ByteView b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

/// Appends in one copy, where the vector's own `insert` would construct byte by byte.
inline void append(Bytes& bytes, ByteView more) {
    if (more.empty()) return;
    const auto size = bytes.size();
    if (size + more.size() > bytes.capacity())
        bytes.reserve(std::max(size + more.size(), 2 * bytes.capacity()));
    bytes.resize(size + more.size());
    std::memcpy(bytes.data() + size, more.data(), more.size());
}
inline Bytes bytesOf(ByteView view) {
    Bytes bytes;
    append(bytes, view);
    return bytes;
}

/// An immutable byte buffer with value semantics; copies share one allocation, on any thread.
class Data {
public:
    Data() = default;
    explicit Data(Bytes bytes) {
        if (bytes.empty()) return;
        auto owner = std::make_shared<const Bytes>(std::move(bytes));
        view_ = *owner;
        this->owner = std::move(owner);
    }
    explicit Data(ByteView bytes) : Data(bytesOf(bytes)) {}
    explicit Data(std::string_view text) : Data(viewOf(text)) {}
    /// A part of a larger buffer, which stays as long as any part of it does; the pages of a part that goes
    /// are returned to the system before.
    Data(std::shared_ptr<Bytes> whole, std::span<std::uint8_t> part);

    ByteView view() const { return view_; }
    operator ByteView() const { return view_; }
    std::size_t size() const { return view_.size(); }
    bool empty() const { return view_.empty(); }

    friend bool operator==(const Data& a, const Data& b) {
        return (a.view_.data() == b.view_.data() && a.size() == b.size()) || sameBytes(a.view_, b.view_);
    }

private:
    ByteView view_;
    std::shared_ptr<const void> owner;
};

/// Returns the pages that lie whole in the range to the system; their content is gone, and they can be used
/// again.
void returnPages(std::span<std::uint8_t> range);

}  // namespace vellumix
