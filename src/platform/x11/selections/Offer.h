#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/x11/selections/Content.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// Bytes that stay alive with whoever sends them; copies share them.
struct SharedBytes {
    std::shared_ptr<const void> owner;
    ByteView view;

    static SharedBytes of(const String& text);
    static SharedBytes of(const Data& data);
};

/// Content in the shape of selection targets: what requestors may ask for, and what they get.
class Offer {
public:
    struct Representation {
        xcb_atom_t target;
        /// The type under which the bytes are given.
        xcb_atom_t type;
        /// Made when somebody first asks: most representations are never wanted.
        std::function<SharedBytes()> bytes;
        /// Bits of one element: 8, 16 or 32.
        std::uint8_t format = 8;
    };

    Offer() = default;
    explicit Offer(std::vector<Representation> representations)
        : representations_(std::move(representations)) {}

    /// Text under every name that programs ask for; an image under its own media type; files as URLs for
    /// file managers, and as paths for editors and terminals, which would take nothing otherwise.
    static Offer of(const Content& content, Connection& connection);

    /// Adds what isn't offered yet.
    void add(std::vector<Representation> further);
    /// In order of preference.
    const std::vector<Representation>& representations() const { return representations_; }
    /// Nothing when the target isn't offered.
    const Representation* find(xcb_atom_t target) const;

private:
    std::vector<Representation> representations_;
};

}  // namespace vellumix::x11
