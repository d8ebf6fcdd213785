#pragma once

#include <map>
#include <memory>
#include <optional>
#include <typeindex>
#include <utility>
#include <vector>

#include "platform/view/values/Drawing.h"
#include "platform/view/values/Style.h"
#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

/// Which way a row of views runs.
enum class LayoutDirection { leftToRight, rightToLeft };

/// What a view hands to everything below it.
struct Environment {
    Font font;
    Color foreground;
    /// Colour of the focus ring.
    Color accent{0.25, 0.5, 0.95, 1};
    /// Drawn round the view that keys have brought the focus to; none where the view shows it otherwise.
    std::optional<Shape> focusRing = Shape{Shape::Kind::roundedRectangle, 6};
    int lineLimit = 0;
    TextOptions::Alignment textAlignment = TextOptions::Alignment::leading;
    LayoutDirection direction = LayoutDirection::leftToRight;
    bool isEnabled = true;
    /// Values given by their type.
    std::map<std::type_index, std::shared_ptr<const void>> values;

    const void* find(std::type_index type) const {
        const auto found = values.find(type);
        return found == values.end() ? nullptr : found->second.get();
    }
    /// As `find` in the environment of the view whose body runs; null outside of one.
    static const void* fromEvaluation(std::type_index type);

    friend bool operator==(const Environment&, const Environment&) = default;
};

/// The value of this type that a view above gave with `View::environment`. Only inside a `body()`; null where
/// none was given.
template <class T>
const T* fromEnvironment() {
    return static_cast<const T*>(Environment::fromEvaluation(typeid(T)));
}

}  // namespace vellumix::view
