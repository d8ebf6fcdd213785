#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/foundation/cipher/AESGCM.h"

namespace vellumix {

/// Memory that is overwritten before it is given back.
template <class T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() = default;
    template <class Other>
    WipingAllocator(const WipingAllocator<Other>&) {}

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count) {
        wipe({reinterpret_cast<std::uint8_t*>(memory), count * sizeof(T)});
        std::allocator<T>().deallocate(memory, count);
    }
    friend bool operator==(const WipingAllocator&, const WipingAllocator&) { return true; }
};

/// What somebody types and nobody is to find again, as UTF-8: there is only one of it, in memory that is
/// wiped when it goes, is moved or outgrows its place. (The library's own string would leave a short one on
/// the stack.)
class SecretText {
public:
    SecretText() = default;
    explicit SecretText(std::string_view text) : bytes(text.begin(), text.end()) {}
    SecretText(SecretText&& other) noexcept = default;
    SecretText& operator=(SecretText&& other) noexcept = default;

    /// Until the next change; never a null pointer.
    std::string_view view() const {
        return bytes.empty() ? "" : std::string_view(bytes.data(), bytes.size());
    }
    /// A letter is a code point here: whoever can't see it takes back what a key has typed.
    std::size_t letterCount() const;
    /// Puts a text in the place of the letters from `begin` up to `end`, without its line ends and zero
    /// bytes; none at all where it isn't UTF-8. Answers how many letters have come in.
    std::size_t replaceLetters(std::size_t begin, std::size_t end, std::string_view text);

private:
    std::size_t offsetOf(std::size_t letter) const;

    std::vector<char, WipingAllocator<char>> bytes;
};

}  // namespace vellumix
