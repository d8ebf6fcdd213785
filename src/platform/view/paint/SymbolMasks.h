#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/foundation/memory/Cache.h"
#include "platform/view/paint/CairoHandles.h"
#include "platform/view/values/Style.h"

namespace vellumix::view {

/// Symbols as coverage, ready to be tinted: each is drawn once for a size in device pixels and a weight, and
/// kept while there is room. One thread at a time.
class SymbolMasks {
public:
    /// A square surface of alpha alone. Null for an unknown symbol or a side out of 1...1024 pixels.
    /// `points` is the side in points, which decides on the weight of large symbols.
    std::shared_ptr<const handles::Surface> mask(std::string_view name, int side, double points,
                                                 Font::Weight weight);

private:
    static constexpr std::size_t countLimit = 512;
    static constexpr std::size_t byteLimit = std::size_t{2} << 20;
    CacheKey key;
    NSCache<handles::Surface> masks{countLimit, byteLimit};
};

}  // namespace vellumix::view
