#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "platform/desktop/Event.h"
#include "platform/view/values/Animation.h"
#include "platform/view/values/Drawing.h"
#include "platform/view/values/Environment.h"
#include "platform/view/values/Presentation.h"
#include "platform/view/values/Semantics.h"
#include "platform/view/values/State.h"

namespace vellumix::view {

class Element;
class View;

/// A struct that describes itself by other views.
template <class T>
concept ViewValue = !std::derived_from<T, View> && requires(const T& value) {
    { value.body() } -> std::convertible_to<View>;
};

enum class Edge { top, leading, bottom, trailing, horizontal, vertical, all };

/// Where content lies in a larger box: 0 is the top or leading edge, 1 the bottom or trailing edge.
struct Alignment {
    double horizontal = 0.5;
    double vertical = 0.5;

    static constexpr Alignment centre() { return {}; }
    static constexpr Alignment topLeading() { return {0, 0}; }
    static constexpr Alignment top() { return {0.5, 0}; }
    static constexpr Alignment topTrailing() { return {1, 0}; }
    static constexpr Alignment leading() { return {0, 0.5}; }
    static constexpr Alignment trailing() { return {1, 0.5}; }
    static constexpr Alignment bottom() { return {0.5, 1}; }
    static constexpr Alignment bottomTrailing() { return {1, 1}; }
};

struct Outline {
    Color color;
    double width = 1;
};

/// Limits of a view's size; what isn't named is left to the content. A maximum of `unbounded` takes all that
/// is offered.
struct FrameLimits {
    std::optional<double> width;
    std::optional<double> height;
    std::optional<double> minimumWidth;
    std::optional<double> maximumWidth;
    std::optional<double> minimumHeight;
    std::optional<double> maximumHeight;
    Alignment alignment;
};

struct ShadowStyle {
    Color color;
    double radius = 0;
    Point offset;
    Shape shape;
};

/// How a view comes and goes when its insertion or removal is animated. Parts that are named together run
/// together.
struct Transition {
    bool fades = false;
    std::optional<double> scale;
    /// Out of, and into, the edge of its own frame.
    std::optional<Edge> edge;

    static constexpr Transition opacity() { return {.fades = true}; }
    static constexpr Transition scaleFrom(double scale) { return {.scale = scale}; }
    static constexpr Transition move(Edge edge) { return {.edge = edge}; }
    constexpr Transition with(const Transition& other) const {
        return {fades || other.fades, scale ? scale : other.scale, edge ? edge : other.edge};
    }
};

/// What a button is to the whole window: pressed by the enter key, or by the escape key.
enum class WindowAction { none, accept, cancel };

/// Any value that can be compared with the one of its type before it.
class ComparedValue {
public:
    virtual ~ComparedValue() = default;
    virtual bool equals(const ComparedValue& other) const = 0;
};
template <class... Values>
class ComparedValues final : public ComparedValue {
public:
    explicit ComparedValues(std::tuple<Values...> values) : values(std::move(values)) {}
    bool equals(const ComparedValue& other) const override {
        const auto* same = dynamic_cast<const ComparedValues*>(&other);
        return same && same->values == values;
    }

private:
    std::tuple<Values...> values;
};

/// Any view, as a value. A copy shares the description and costs a pointer. Empty, it takes no room and draws
/// nothing.
///
/// Each modifier gives a new view around this one, so their order counts: what stands behind a padding
/// reaches under it.
class View {
public:
    View() = default;
    explicit View(std::shared_ptr<const Element> element) : element_(std::move(element)) {}
    template <ViewValue T>
    View(T value);

    const std::shared_ptr<const Element>& element() const { return element_; }
    bool isEmpty() const { return !element_; }

    View padding(double all) const;
    View padding(Edge edge, double by) const;
    View padding(const Insets& insets) const;
    View frame(const FrameLimits& limits) const;
    View frame(double width, double height) const;
    View fillWidth(Alignment alignment = {}) const;
    View fillHeight(Alignment alignment = {}) const;
    /// Behind this view, and as large.
    View background(const View& behind, Alignment alignment = {}) const;
    View background(const Shape& shape, const Color& fill, std::optional<Outline> outline = {}) const;
    /// In front of this view, and as large at most.
    View overlay(const View& inFront, Alignment alignment = {}) const;
    View clip(const Shape& shape) const;
    View shadow(const ShadowStyle& style) const;
    View opacity(double opacity) const;
    /// About the centre; takes no other room.
    View scale(double scale) const;
    /// By radians, clockwise, about the centre; takes no other room.
    View rotation(double radians) const;

    View foreground(const Color& color) const;
    View font(const Font& font) const;
    View italic() const;
    View monospaced() const;
    /// 0 is no limit.
    View lineLimit(int lines) const;
    View textAlignment(TextOptions::Alignment alignment) const;
    View direction(LayoutDirection direction) const;
    View accent(const Color& color) const;
    /// The shape of the ring round the view that keys have brought the focus to. Without one, the view shows
    /// its focus itself.
    View focusRing(std::optional<Shape> shape) const;
    /// A disabled view takes no clicks, keys or focus. Nothing below enables itself again.
    View disabled(bool isDisabled) const;
    /// For `fromEnvironment<T>()` in everything below. A service is given as a pointer that outlives the
    /// tree.
    template <class T>
    View environment(T value) const {
        return environmentValue(typeid(T), std::make_shared<const T>(std::move(value)));
    }

    /// The cursor is wanted while the pointer is over this view, unless a view inside wants another.
    View onHover(std::function<void(bool isOver)> handler, std::optional<Cursor> cursor = {}) const;
    View onHover(const Binding<bool>& isOver, std::optional<Cursor> cursor = {}) const;
    View onHover(const State<bool>& isOver, std::optional<Cursor> cursor = {}) const;
    /// A press and a release of the primary button inside, unless a view inside took the press.
    View onTap(Action action) const;
    /// A press of any button outside of this view.
    View onClickOutside(Action action) const;
    /// Keys while the focus is in here, innermost first; all keys while nothing has the focus.
    View onKey(KeyHandler handler) const;
    View focusable() const;
    /// Writes the binding when the focus comes and goes, and moves the focus when the binding turns true.
    View focusable(const Binding<bool>& isFocused) const;
    /// The text in here can be selected by the pointer, and copied by Control+C.
    View selectable() const;
    View windowAction(WindowAction action) const;
    /// Shows an alert over the window for as long as the binding is true. It turns false as the alert is
    /// answered, before the button's action runs.
    View alert(const Binding<bool>& isPresented, AlertDescription alert) const;

    View semantics(Semantics semantics) const;
    View semantics(Role role, String label, bool isSelected = false) const;
    View help(String text) const;
    /// Tells this view from its siblings of the same type, and gives `ScrollArea` something to scroll to.
    View id(std::string id) const;

    /// Changes below run along the curve whenever one of the values differs from the last time.
    template <class... Values>
    View animation(const Curve& curve, const Values&... values) const {
        return animationOf(curve, std::make_shared<const ComparedValues<decltype(plain(values))...>>(
                                      std::tuple<decltype(plain(values))...>(plain(values)...)));
    }
    /// Runs the action whenever the value differs from the last time, not at the first. What it changes shows
    /// in the same frame.
    template <class Value>
    View onChange(const Value& value, const Action& action) const {
        return reactionTo(std::make_shared<const ComparedValues<decltype(plain(value))>>(
                              std::tuple<decltype(plain(value))>(plain(value))),
                          action);
    }
    /// Runs the action whenever a notification of that name is posted on the default centre, for as long as
    /// the view is there.
    View onReceive(std::string notification, Action action) const;
    View transition(const Transition& transition) const;
    /// Rooms of a row or column go to the views of the highest priority first.
    View layoutPriority(double priority) const;

private:
    template <class T>
    static T plain(const T& value) {
        return value;
    }
    template <class T>
    static T plain(const State<T>& state) {
        return state.get();
    }
    template <class T>
    static T plain(const Binding<T>& binding) {
        return binding.get();
    }

    View environmentValue(std::type_index type, std::shared_ptr<const void> value) const;
    View animationOf(const Curve& curve, std::shared_ptr<const ComparedValue> values) const;
    View reactionTo(std::shared_ptr<const ComparedValue> value, Action action) const;

    std::shared_ptr<const Element> element_;
};

/// A user's view, whatever its type.
class AnyBody {
public:
    virtual ~AnyBody() = default;
    virtual View body() const = 0;
    /// Where its struct lies, and how many bytes it has.
    virtual std::pair<const void*, std::size_t> value() const = 0;
    virtual const std::type_info& type() const = 0;
};
View viewOf(std::shared_ptr<const AnyBody> body);

template <class T>
class BodyOf final : public AnyBody {
public:
    explicit BodyOf(T value) : value_(std::move(value)) {}
    View body() const override { return value_.body(); }
    std::pair<const void*, std::size_t> value() const override { return {&value_, sizeof value_}; }
    const std::type_info& type() const override { return typeid(T); }

private:
    T value_;
};

template <ViewValue T>
View::View(T value) : View(viewOf(std::make_shared<const BodyOf<T>>(std::move(value)))) {}

}  // namespace vellumix::view
