#pragma once

#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/cipher/SecretText.h"
#include "platform/view/values/Presentation.h"
#include "platform/view/values/View.h"

/// The views that everything else is made of.
namespace vellumix::view {

struct RoundedRectangle : Shape {
    explicit RoundedRectangle(double radius) : Shape{Kind::roundedRectangle, radius} {}
};
struct Rectangle : Shape {
    Rectangle() : Shape{Kind::rectangle, 0} {}
};
struct Capsule : Shape {
    Capsule() : Shape{Kind::capsule, 0} {}
};
struct Circle : Shape {
    Circle() : Shape{Kind::ellipse, 0} {}
};

/// In points, between the children of a row or column.
struct Spacing {
    explicit constexpr Spacing(double by) : points(by) {}
    double points;
};

/// A text in the font and colour of its environment.
struct Text : View {
    explicit Text(String text);
};

/// A symbol as high as the font of its environment, in its colour and weight.
struct Symbol : View {
    explicit Symbol(std::string name);
};

/// A picture with its proportions kept: filling its room and cut there, or fitted into it.
struct Image : View {
    enum class Scaling { fill, fit };
    explicit Image(std::shared_ptr<const Bitmap> bitmap, Scaling scaling = Scaling::fit);
};

/// A shape that takes all the room it is given. Without a fill it has the foreground colour.
struct ShapeView : View {
    explicit ShapeView(const Shape& shape, std::optional<Color> fill = {},
                       std::optional<Outline> outline = {});
};

/// Takes the free room of a row or column.
struct Spacer : View {
    explicit Spacer(double minimum = 0);
};

/// A line one point thick across the direction of its row or column.
struct Divider : View {
    explicit Divider(const Color& color);
};

/// Children beside each other, `alignment.vertical` of which counts.
struct HStack : View {
    HStack(Spacing spacing, Alignment alignment, std::vector<View> children);
    template <std::convertible_to<View>... Children>
    explicit HStack(Spacing spacing, Children... children)
        : HStack(spacing, Alignment::centre(), std::vector<View>{View(std::move(children))...}) {}
};

/// Children under each other, `alignment.horizontal` of which counts.
struct VStack : View {
    VStack(Spacing spacing, Alignment alignment, std::vector<View> children);
    template <std::convertible_to<View>... Children>
    explicit VStack(Spacing spacing, Children... children)
        : VStack(spacing, Alignment::centre(), std::vector<View>{View(std::move(children))...}) {}
};

/// Children over each other, the last in front.
struct ZStack : View {
    ZStack(Alignment alignment, std::vector<View> children);
    template <std::convertible_to<View>... Children>
    explicit ZStack(Children... children)
        : ZStack(Alignment::centre(), std::vector<View>{View(std::move(children))...}) {}
};

/// Does its action on a click, and on the space or enter key while it has the focus. Its name is the text in
/// it, unless its semantics say another.
struct Button : View {
    Button(Action action, const View& label);
};

/// Opens a menu under itself: by a press of the pointer, which may be let go over an item or beside the menu,
/// and by the space, enter or down key while it has the focus. The items are asked for as it opens; without
/// any, nothing does.
struct Menu : View {
    Menu(const View& label, MenuItems items);
};

struct TextFieldOptions {
    /// On the enter key, which else goes on to what is around the field.
    Action onSubmit;
    /// What the field is for: shown while nothing is in it, nor being composed there.
    String prompt;
    Color promptColor;
};

/// A line of text that can be written in, in the font and colour of its environment, as wide as there is
/// room. It draws the text, the selection and the caret and nothing around them. Its focus can be bound by
/// `focusable` right on it.
///
/// Keys that it has no use for go on to the handlers around it: up, down, escape, tab, and enter without an
/// `onSubmit`. A text that the binding is given from elsewhere puts the caret at its end and can't be undone.
struct TextField : View {
    explicit TextField(const Binding<String>& text, TextFieldOptions options = {});
};

/// A text field that shows, and knows of, nothing but a bullet for each letter: the letters are in the secret
/// alone. It hands nothing out by the clipboard, asks no input method, and has no undoing. Whoever changes
/// the secret draws the view anew.
struct SecretField : View {
    explicit SecretField(const std::shared_ptr<SecretText>& secret, TextFieldOptions options = {});
};

/// A wheel of spokes, 16 points wide, that turns for as long as it can be seen.
struct ProgressIndicator : View {
    ProgressIndicator();
};

/// Nothing, or the view: either keeps the identity of its siblings.
inline View If(bool condition, const View& view) { return condition ? view : View(); }
template <std::invocable Make>
View If(bool condition, Make make) {
    return condition ? View(make()) : View();
}

/// A view that is made anew only when one of the values differs from the last time, or the environment does.
/// What else the making uses must do the same as at the last time.
struct Memo : View {
    template <std::invocable Make, class... Values>
    explicit Memo(Make make, Values... values)
        : View(memo([make = std::move(make)] { return View(make()); },
                    std::make_shared<const ComparedValues<Values...>>(
                        std::tuple<Values...>(std::move(values)...)))) {}

private:
    static View memo(std::function<View()> make, std::shared_ptr<const ComparedValue> values);
};

/// Makes the rows of a list, each told from the others by an id that is its alone.
struct RowSource {
    std::size_t count = 0;
    std::function<std::string(std::size_t)> id;
    std::function<View(std::size_t)> row;
};
template <std::ranges::random_access_range Items, class Id, class Content>
RowSource rowsOf(Items items, Id id, Content content) {
    auto shared = std::make_shared<const Items>(std::move(items));
    const auto count = static_cast<std::size_t>(std::ranges::size(*shared));
    return {count, [shared, id = std::move(id)](std::size_t at) { return std::string(id((*shared)[at])); },
            [shared, content = std::move(content)](std::size_t at) { return View(content((*shared)[at])); }};
}

/// One view for each item, as if they stood in the stack around it one by one.
struct ForEach : View {
    explicit ForEach(const RowSource& rows);
    template <std::ranges::random_access_range Items, class Id, class Content>
    ForEach(Items items, Id id, Content content)
        : ForEach(rowsOf(std::move(items), std::move(id), std::move(content))) {}
};

/// A column that builds the rows in sight alone; use it in a `ScrollArea`. A row out of sight keeps its
/// states as long as its id is among the rows.
struct LazyVStack : View {
    LazyVStack(Spacing spacing, RowSource rows);
    template <std::ranges::random_access_range Items, class Id, class Content>
    LazyVStack(Spacing spacing, Items items, Id id, Content content)
        : LazyVStack(spacing, rowsOf(std::move(items), std::move(id), std::move(content))) {}
};

/// Where to scroll to. It is done once for each new value: raise `serial` to scroll to the same row again.
struct ScrollTarget {
    /// Empty, it is nowhere, and nothing is scrolled.
    std::string id;
    /// 0 brings the row to the top, 1 to the bottom; without one, it scrolls as far as needed to see it.
    std::optional<double> anchor;
    int serial = 0;

    friend bool operator==(const ScrollTarget&, const ScrollTarget&) = default;
};

/// Content of any height, cut to the room there is, that moves up and down.
struct ScrollArea : View {
    enum class Indicator { shown, hidden };
    explicit ScrollArea(const View& content, std::optional<ScrollTarget> target = {},
                        Indicator indicator = Indicator::shown);
};

}  // namespace vellumix::view
