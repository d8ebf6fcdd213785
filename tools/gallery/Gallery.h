#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/view/paint/CairoSurface.h"
#include "platform/view/tree/ViewTree.h"

/// The views as pictures, to be looked at while they are worked on. Needs a platform whose time jumps, and no
/// display. Main thread.
namespace vellumix {

/// A view on trial: it is worked as a window would work it.
class GalleryStage {
public:
    GalleryStage(const view::View& root, view::TextSetter& texts, const view::Surface& surface);

    /// Each does nothing where there is no such thing.
    void hover(view::Role role, std::string_view label);
    void click(view::Role role, std::string_view label);
    void focusNext();
    void type(std::string_view letters);
    /// Once everything has come to rest.
    const view::DrawingList& settled();

private:
    std::optional<Point> find(view::Role role, std::string_view label);

    view::ViewTree tree;
    double now = 0;
};

/// One state of one view.
struct GalleryCell {
    std::string caption;
    view::View content;
    Size size;
    /// What brings it into that state.
    std::function<void(GalleryStage&)> act;
    /// What the content shows, kept for as long as it is shown.
    std::shared_ptr<const void> source = nullptr;
};

/// Cells under each other, in as many columns.
struct GallerySheet {
    std::string name;
    std::size_t columns = 1;
    std::vector<GalleryCell> cells;
};

/// All components, the pages of the panel, and the panel in three sizes, in the theme and the language in
/// force.
std::vector<GallerySheet> gallerySheets();

/// A painted sheet. The surface lies in the memory.
struct GalleryPicture {
    std::vector<std::uint8_t> memory;
    view::CairoSurface surface;
};
GalleryPicture paint(const GallerySheet& sheet, view::TextSetter& texts, double scale);

/// Writes the sheets in both themes at the scales 1, 1.25 and 2, and the panel in every language, as PNG
/// files into the folder. False where one can't be written.
bool paintGallery(const std::string& folder);

}  // namespace vellumix
