#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/text/String.h"

namespace vellumix::x11 {

/// The clipboard's content at one moment, whole. At most one of files, image and text was read from another
/// program; our own may have several.
struct Content {
    std::vector<URL> files;
    /// The files are to be moved where they are pasted.
    bool isCut = false;
    std::optional<Data> image;
    /// The media type of `image`, such as "image/png".
    std::string imageType;
    std::optional<String> text;
    /// The names under which its owner announced it, markers included; empty for our own.
    std::vector<std::string> ownerTypes;
    /// The atoms of these names, in the same order.
    std::vector<std::uint32_t> ownerTargets;
    /// Its owner asks that it not be recorded; there is no payload then.
    bool isMarked = false;

    bool hasPayload() const { return !files.empty() || image || text; }
    /// There is a payload, and the other's is the same.
    bool hasPayloadOf(const Content& other) const {
        return hasPayload() && files == other.files && isCut == other.isCut && image == other.image &&
               text == other.text;
    }
};

}  // namespace vellumix::x11
