#pragma once

#include <cairo.h>
#include <pango/pangocairo.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "platform/foundation/cipher/AESGCM.h"

/// The handles of cairo and Pango that this folder owns, one a line.
namespace vellumix::view::handles {

template <auto Free>
struct Deleter {
    template <class T>
    void operator()(T* handle) const {
        Free(handle);
    }
};

template <class T>
using Object = std::unique_ptr<T, Deleter<g_object_unref>>;
/// Overwrites the layout's own copy of its text first, which Pango gives back as it is.
inline void wipeAndUnref(PangoLayout* layout) {
    const auto* const text = pango_layout_get_text(layout);
    wipe({reinterpret_cast<std::uint8_t*>(const_cast<char*>(text)), std::strlen(text)});
    g_object_unref(layout);
}
using Layout = std::unique_ptr<PangoLayout, Deleter<wipeAndUnref>>;
using Context = std::unique_ptr<cairo_t, Deleter<cairo_destroy>>;
using Surface = std::unique_ptr<cairo_surface_t, Deleter<cairo_surface_destroy>>;
using Pattern = std::unique_ptr<cairo_pattern_t, Deleter<cairo_pattern_destroy>>;
using FontOptions = std::unique_ptr<cairo_font_options_t, Deleter<cairo_font_options_destroy>>;
using FontDescription = std::unique_ptr<PangoFontDescription, Deleter<pango_font_description_free>>;
using LineIterator = std::unique_ptr<PangoLayoutIter, Deleter<pango_layout_iter_free>>;
using Attributes = std::unique_ptr<PangoAttrList, Deleter<pango_attr_list_unref>>;
using Ranges = std::unique_ptr<int, Deleter<g_free>>;

}  // namespace vellumix::view::handles
