// The view tree: views and events made from bytes. Whatever they are, frames come to an end, drawing is
// nested properly, and every number in it is one.

#include <cmath>
#include <cstdlib>
#include <string>

#include "platform/headless/Desktop.h"
#include "platform/view/tree/ViewTree.h"
#include "platform/view/values/Views.h"
#include "support/FixedTextSetter.h"

using namespace vellumix;
using namespace vellumix::view;

namespace {

/// The bytes, one by one; zeros after the last.
struct Input {
    const std::uint8_t* bytes;
    std::size_t left;

    unsigned next() {
        if (left == 0) return 0;
        --left;
        return *bytes++;
    }
};

constexpr int deepest = 7;
View randomView(Input& input, int depth);

struct Toggle {
    View off;
    View on;
    State<bool> isOn = false;

    View body() const {
        const auto binding = isOn.binding();
        return VStack(
                   Spacing(1), Button([binding] { binding.set(!binding.get()); }, Text("toggle")),
                   Button(
                       [binding] { withAnimation(Curve::linear(0.2), [&] { binding.set(!binding.get()); }); },
                       Text("slowly")),
                   isOn ? on : off)
            .onHover(isOn)
            .animation(Curve::spring(0.3, 0.5), isOn);
    }
};

/// A field of its own text, whose focus can be bound, with a text beside it that can be selected.
struct Writing {
    bool isSecret = false;
    bool isBound = false;
    State<String> text = String("\u05D0 one \u00E9\r\n");
    std::shared_ptr<SecretText> secret = std::make_shared<SecretText>("\u05D0 one");
    State<bool> isFocused = false;

    View body() const {
        const auto clear = text.binding();
        const auto field =
            isSecret ? View(SecretField(secret))
                     : View(TextField(text, {.onSubmit = [clear] { clear.set({}); }, .prompt = "one"}));
        return HStack(Spacing(1), isBound ? field.focusable(isFocused.binding()) : field,
                      Text(text.get()).selectable(), If(isFocused, Text("focused")));
    }
};

struct Name {
    View body() const {
        const auto* name = fromEnvironment<std::string>();
        return Text(name ? *name : "nameless");
    }
};

View randomImage(Input& input) {
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = static_cast<int>(input.next() % 3);
    bitmap->height = static_cast<int>(input.next() % 3);
    bitmap->pixels.resize(static_cast<std::size_t>(4 * bitmap->width * bitmap->height));
    return Image(bitmap, input.next() % 2 == 0 ? Image::Scaling::fill : Image::Scaling::fit);
}

View randomLeaf(Input& input) {
    switch (input.next() % 10) {
        case 0:
            return Text(std::string(input.next(), static_cast<char>(input.next())));
        case 1:
            return Symbol("pin");
        case 2:
            return ShapeView(RoundedRectangle(input.next()), Color::grey(0.5), Outline{});
        case 3:
            return Spacer(input.next() % 40);
        case 4:
            return Divider(Color::grey(0.3));
        case 5:
            return {};
        case 6:
            return Writing{.isSecret = input.next() % 4 == 0, .isBound = input.next() % 2 == 0};
        case 7:
            return randomImage(input);
        case 8:
            return Name();
        default:
            return Text("two words, and more of them");
    }
}

View randomModified(Input& input, int depth) {
    const auto view = randomView(input, depth + 1);
    const auto amount = static_cast<double>(input.next());
    switch (input.next() % 18) {
        case 0:
            return view.padding(amount / 8);
        case 1:
            return view.frame({.minimumWidth = amount, .maximumWidth = unbounded, .maximumHeight = 40});
        case 2:
            return view.frame(amount, amount / 2);
        case 3:
            return view.background(randomView(input, depth + 1));
        case 4:
            return view.overlay(randomView(input, depth + 1), Alignment::bottomTrailing());
        case 5:
            return view.clip(Capsule());
        case 6:
            return view.opacity(amount / 255);
        case 7:
            return view.scale(amount / 100);
        case 8:
            return view.font(Font::system(amount / 4 + 1));
        case 9:
            return view.direction(LayoutDirection::rightToLeft);
        case 10:
            return view.disabled(amount > 127);
        case 11:
            return view.focusable().onKey([](const KeyEvent& event) { return event.text.empty(); });
        case 12:
            return view.id(std::to_string(input.next() % 4));
        case 13:
            return view.transition(Transition::opacity().with(Transition::move(Edge::leading)));
        case 14:
            return view.environment(std::to_string(amount)).focusRing(std::nullopt);
        case 15:
            return view.focusable(Binding<bool>(amount > 127)).selectable();
        case 16:
            return view.lineLimit(static_cast<int>(amount) % 4).semantics(Role::group, "thing");
        default:
            return view.layoutPriority(amount).help("help");
    }
}

View randomView(Input& input, int depth) {
    if (depth >= deepest) return randomLeaf(input);
    const auto children = [&] {
        std::vector<View> views;
        for (auto count = input.next() % 4; count > 0; --count) views.push_back(randomView(input, depth + 1));
        return views;
    };
    const auto spacing = [&] { return Spacing(input.next() % 20); };
    switch (input.next() % 9) {
        case 0:
            return HStack(spacing(), Alignment::top(), children());
        case 1:
            return VStack(spacing(), Alignment::trailing(), children());
        case 2:
            return ZStack(Alignment::centre(), children());
        case 3: {
            // Lists inside lists, of rows without a height, would build the product of their lengths.
            auto off = randomLeaf(input);
            const View row = Toggle{std::move(off), randomLeaf(input)};
            const std::size_t count = input.next();
            const auto same = input.next() % 5 + 1;
            const RowSource rows{count, [same](std::size_t at) { return std::to_string(at / same); },
                                 [row](std::size_t at) { return at % 7 == 0 ? View() : row; }};
            std::optional<ScrollTarget> target;
            if (input.next() % 2 == 0) target = ScrollTarget{std::to_string(input.next()), 0.5};
            return ScrollArea(LazyVStack(spacing(), rows), target);
        }
        case 4: {
            auto off = randomView(input, depth + 1);
            return Toggle{std::move(off), randomView(input, depth + 1)};
        }
        case 5:
            return randomLeaf(input);
        case 6: {
            const auto row = randomView(input, depth + 1);
            const std::vector<unsigned> ids(input.next() % 6, input.next());
            return HStack(spacing(), ForEach(
                                         ids, [](unsigned id) { return std::to_string(id % 3); },
                                         [row](unsigned id) { return Memo([row] { return row; }, id); }));
        }
        default:
            return randomModified(input, depth);
    }
}

void check(bool holds) {
    if (!holds) std::abort();
}

void checkDrawing(const DrawingList& list) {
    int depth = 0;
    const auto isNumber = [](const Rect& rect) {
        return std::isfinite(rect.minX() + rect.minY() + rect.size.width + rect.size.height);
    };
    for (const auto& command : list) {
        if (const auto* fill = std::get_if<draw::Fill>(&command)) check(isNumber(fill->rect));
        if (const auto* stroke = std::get_if<draw::Stroke>(&command)) check(isNumber(stroke->rect));
        if (const auto* text = std::get_if<draw::Text>(&command)) check(isNumber({text->origin, {}}));
        if (const auto* clip = std::get_if<draw::PushClip>(&command)) check(isNumber(clip->rect));
        const bool isPush = std::holds_alternative<draw::PushClip>(command) ||
                            std::holds_alternative<draw::PushLayer>(command);
        depth += isPush ? 1 : std::holds_alternative<draw::Pop>(command) ? -1 : 0;
        check(depth >= 0);
    }
    check(depth == 0);
}

void pressKey(ViewTree& tree, Input& input) {
    constexpr const char* texts[] = {"x", " ", "\u05D0", "\u0301", "\U0001F1E9", "\xFF", "", "z"};
    constexpr const char* characters[] = {"a", "c", "x", "v", "z", "y"};
    const auto flags = input.next();
    const KeyModifiers modifiers{.hasShift = flags % 2 == 1, .hasControl = flags / 2 % 3 == 1};
    const auto key = static_cast<Key>(input.next() % 16);
    if (modifiers.hasControl) {
        tree.keyPressed({.key = key, .modifiers = modifiers, .character = characters[flags / 8 % 6]});
    } else {
        tree.keyPressed({.key = key, .text = texts[flags / 8 % 8], .modifiers = modifiers});
    }
}

void checkCaret(const ViewTree& tree, double now) {
    const auto caret = tree.textInputCaret();
    check(!caret || std::isfinite(caret->minX() + caret->maxY()));
    const auto next = tree.nextFrameAt();
    check(!next || *next > now);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input{bytes, size};
    headless::Desktop desktop;
    const platform::Scope scope(desktop.platform());
    const auto texts = fixedTextSetter();
    ViewTree tree(randomView(input, 0), *texts, {{300, 200}});
    double now = 0;
    checkDrawing(tree.frame(now));
    constexpr int mostEvents = 40;
    for (int event = 0; event < mostEvents && input.left > 0; ++event) {
        const auto what = input.next() % 14;
        const Point at{static_cast<double>(input.next()), static_cast<double>(input.next())};
        switch (what) {
            case 0:
                tree.pointerMoved(at);
                break;
            case 1:
                tree.pointerPressed(
                    {at, PointerButton::primary, {.hasShift = at.x > 200}, static_cast<int>(at.y) % 4});
                break;
            case 2:
                tree.pointerReleased(at);
                break;
            case 3:
                tree.scrolled(at, (at.x - 128) * 8);
                break;
            case 4:
                pressKey(tree, input);
                break;
            case 5:
                tree.setSurface({{at.x, at.y}, 1 + at.x / 200, LayoutDirection::leftToRight});
                break;
            case 6:
                tree.focusNext();
                break;
            case 7:
                tree.pointerLeft();
                break;
            case 8:
                tree.setRoot(randomView(input, 0));
                break;
            case 9:
                tree.textComposed(
                    {std::string(input.next() % 5, static_cast<char>(input.next())), input.next()});
                break;
            case 10:
            case 11:
                for (auto keys = input.next() % 8; keys > 0; --keys) pressKey(tree, input);
                break;
            default:
                now += at.x / 500;
                break;
        }
        if (input.next() % 4 == 0) continue;
        checkDrawing(tree.frame(now));
        checkCaret(tree, now);
    }
    constexpr double longAfter = 1000;
    checkDrawing(tree.frame(now + longAfter));
    check(!tree.layoutDump().empty() && !tree.semanticsDump().empty());
    return 0;
}
