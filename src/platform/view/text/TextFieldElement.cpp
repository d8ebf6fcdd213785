#include <algorithm>
#include <cmath>

#include "platform/view/text/CaretBlink.h"
#include "platform/view/text/FieldLine.h"
#include "platform/view/text/SelectedText.h"
#include "platform/view/text/TextKeys.h"
#include "platform/view/tree/Handlers.h"
#include "platform/view/tree/InputElement.h"
#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

using Selecting = TextEditor::Selecting;
using Unit = TextEditor::Unit;
using Way = TextEditor::Way;

constexpr std::string_view bullet = "\u2022";

String bullets(std::size_t count) {
    std::string shown;
    for (; count > 0; --count) shown += bullet;
    return shown;
}

class TextFieldElement final : public InputElement {
public:
    /// With a secret, the text is the bullets that stand for it.
    TextFieldElement(Binding<String> text, std::shared_ptr<SecretText> secret, TextFieldOptions options)
        : text(std::move(text)), secret(std::move(secret)), options(std::move(options)) {
        handlers_.focus = Handlers::Focus::byPressToo;
        handlers_.cursor = Cursor::text;
    }

    const char* name() const override { return "TextField"; }
    const Handlers* handlers() const override { return &handlers_; }
    bool isSolid() const override { return true; }
    bool isTextField() const override { return true; }
    /// Read here, so that a text which a service publishes is followed.
    void children(Node&, ChildList&) const override { static_cast<void>(text.get()); }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        constexpr double ownWidth = 12;  // of the font's size
        const auto& font = node.environment->font;
        const auto height = pass.texts.set(" ", {.font = font})->size().height;
        return {proposal.width.value_or(pass.roundedUp(ownWidth * font.size)), pass.roundedUp(height)};
    }

    void place(Node& node, const Proposal&, LayoutPass& pass) const override {
        auto& data = node.data<Data>();
        data.texts = &pass.texts;
        pass.move(data.color, node.environment->foreground);
        pass.move(data.promptColor, options.promptColor);
        data.prompt = pass.texts.set(
            options.prompt,
            {.font = node.environment->font, .maximumWidth = node.target.size.width, .lineLimit = 1});
        follow(node, data);
        show(node, data);
    }

    void record(Node& node, Recorder& recorder) const override {
        auto& data = node.data<Data>();
        if (!data.line.layout()) return;
        scrollWithDrag(node, data, recorder);
        const bool isCut = data.line.layout()->size().width > node.drawn.size.width;
        if (!isCut) {
            recordText(node, data, recorder);
        } else {
            recorder.clipped(node.drawn, Rectangle(), [&] { recordText(node, data, recorder); });
        }
        if (data.blink.idleFor(recorder.now()) > pauseOfStep) data.editor.endStep();
    }

    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        SemanticNode field;
        field.role = Role::textField;
        field.value = text.get();
        field.frame = node.visible;
        field.state.isDisabled = !node.environment->isEnabled;
        field.state.isFocused = node.hasFocus;
        into.push_back(std::move(field));
    }

    void pointerPressed(Node& node, const PointerPress& press) const override {
        auto& data = node.data<Data>();
        follow(node, data);
        data.marked = {};
        const auto selecting = press.modifiers.hasShift ? Selecting::yes : Selecting::no;
        const auto offset = offsetAt(node, data, press.at);
        data.editor.pressAt(offset, unitOf(press.clickCount), selecting);
        data.drag = press.at;
        pointedAt(node, data, offset);
    }

    void pointerDragged(Node& node, Point at) const override {
        auto& data = node.data<Data>();
        if (!data.drag) return;
        data.drag = at;
        dragTo(node, data);
    }

    void pointerReleased(Node& node) const override { node.data<Data>().drag.reset(); }

    bool keyPressed(Node& node, const KeyEvent& event) const override {
        auto& data = node.data<Data>();
        follow(node, data);
        const auto command = textCommandOf(event);
        if (!command) return false;
        if (command->kind == TextCommand::Kind::submit) {
            const auto submit = options.onSubmit;
            if (!submit) return false;
            data.editor.endStep();
            submit();
            return true;
        }
        if (!perform(node, data, *command, event.text)) return false;
        data.marked = {};
        const bool isStill =
            command->kind == TextCommand::Kind::copy || command->kind == TextCommand::Kind::selectAll;
        pointedAt(node, data, isStill ? data.around : data.editor.head());
        tell(data);
        return true;
    }

    void textComposed(Node& node, const MarkedText& text) const override {
        if (secret) return;
        auto& data = node.data<Data>();
        follow(node, data);
        constexpr std::size_t longestMarked = 4096;
        data.marked = {repairedUTF8(std::string_view(text.text).substr(0, longestMarked)), 0};
        data.marked.caret = std::min(text.caret, data.marked.text.size());
        if (!text.text.empty() && !data.editor.selection().isEmpty()) {
            data.editor.erase(Way::backward, Unit::grapheme);
        }
        touched(node, data);
        tell(data);
    }

    std::optional<Rect> caret(const Node& node) const override {
        // An input method is another program, and remembers what it is shown.
        if (secret) return std::nullopt;
        const auto* data = node.dataIfAny<Data>();
        return data && data->line.layout() ? std::optional(data->caret) : std::nullopt;
    }

    void focusChanged(Node& node) const override {
        auto& data = node.data<Data>();
        data.marked = {};
        data.editor.endStep();
        if (node.hasFocus) {
            touched(node, data);
        } else {
            data.drag.reset();
        }
    }

    void focusedByKeys(Node& node) const override {
        auto& data = node.data<Data>();
        follow(node, data);
        data.editor.selectAll();
        touched(node, data);
    }

private:
    /// In seconds. Who stops for so long begins another step of undoing.
    static constexpr double pauseOfStep = 1;

    struct Data final : NodeData {
        TextEditor editor;
        /// What the binding was last seen to hold.
        String known;
        MarkedText marked;
        TextSetter* texts = nullptr;
        Animated<Color> color;
        Animated<Color> promptColor;
        std::shared_ptr<const TextLayout> prompt;
        /// The place of the text that is to be in sight.
        std::size_t around = 0;
        FieldLine line;
        CaretBlink blink;
        /// Where the pointer is that selects, and when the text next scrolls under it.
        std::optional<Point> drag;
        double scrollsAt = 0;
        Rect caret;
    };

    /// What the binding holds counts, whoever wrote it.
    void follow(const Node& node, Data& data) const {
        const auto now = text.get();
        if (now == data.known) return;
        data.known = now;
        data.editor.reset(now.string());
        data.marked = {};
        data.around = node.hasFocus ? data.editor.head() : 0;
    }

    void tell(Data& data) const {
        if (data.known.view() == data.editor.text()) return;
        data.known = String(data.editor.text());
        text.set(data.known);
    }

    void touched(const Node& node, Data& data) const { pointedAt(node, data, data.editor.head()); }

    /// What is under the pointer stays there, though the selection may end far away.
    void pointedAt(const Node& node, Data& data, std::size_t offset) const {
        data.blink.restart();
        data.around = offset;
        show(node, data);
    }

    void dragTo(const Node& node, Data& data) const {
        const auto offset = offsetAt(node, data, *data.drag);
        data.editor.dragTo(offset);
        pointedAt(node, data, offset);
    }

    void show(const Node& node, Data& data) const {
        if (!data.texts) return;
        data.line.layOut(*data.texts, node.environment->font, node.target.size.width,
                         {.text = data.editor.text(),
                          .around = data.around,
                          .caret = data.editor.head(),
                          .marked = data.marked.text},
                         data.marked.caret);
    }

    bool isRightToLeft(const Node& node, const Data& data) const {
        const bool isMirrored = node.environment->direction == LayoutDirection::rightToLeft;
        return startsRightToLeft(data.line.shown().string()).value_or(isMirrored);
    }

    /// The left top corner of the laid out text, in the window.
    Point originOfText(const Node& node, const Data& data) const {
        const double free = node.drawn.size.width - data.line.layout()->size().width - FieldLine::caretWidth;
        double part = 0;
        if (node.environment->textAlignment == TextOptions::Alignment::centre) part = 0.5;
        if (node.environment->textAlignment == TextOptions::Alignment::trailing) part = 1;
        if (isRightToLeft(node, data)) part = 1 - part;
        return {node.drawn.minX() + std::max(0.0, free) * part - data.line.scrolled(),
                node.drawn.minY() + data.line.baseline() - data.line.layout()->baseline()};
    }

    Point originOfPrompt(const Node& node, const Data& data) const {
        const double free = node.drawn.size.width - data.prompt->size().width;
        return {node.drawn.minX() + (isRightToLeft(node, data) ? free : 0),
                node.drawn.minY() + data.line.baseline() - data.prompt->baseline()};
    }

    std::size_t offsetAt(const Node& node, const Data& data, Point at) const {
        if (!data.line.layout()) return 0;
        // How far out of the field the pointer is sets the pace at which it scrolls, up to this.
        constexpr double farthest = 40;
        const double x = std::clamp(at.x, node.drawn.minX() - farthest, node.drawn.maxX() + farthest);
        return data.line.offsetAt(x - originOfText(node, data).x);
    }

    Unit unitOf(int clickCount) const {
        if (clickCount <= 1) return Unit::grapheme;
        return clickCount == 2 ? wordless(Unit::word) : Unit::line;
    }

    /// A pointer that rests beyond an edge goes on scrolling.
    void scrollWithDrag(Node& node, Data& data, Recorder& recorder) const {
        constexpr double interval = 0.05;
        if (!data.drag || (data.drag->x >= node.drawn.minX() && data.drag->x < node.drawn.maxX())) return;
        if (recorder.now() >= data.scrollsAt) {
            const auto before = data.around;
            dragTo(node, data);
            if (data.around == before) return;
            data.scrollsAt = recorder.now() + interval;
        }
        recorder.needFrameAt(data.scrollsAt);
    }

    void recordText(const Node& node, Data& data, Recorder& recorder) const {
        const auto origin = originOfText(node, data);
        const auto color = data.color.at(recorder.now());
        const auto areas = [&](std::size_t begin, std::size_t end) {
            auto found = data.line.layout()->areas(begin, end);
            for (auto& area : found) area.origin = area.origin + origin;
            return found;
        };
        const auto selected = data.editor.selection();
        for (const auto& area : areas(data.line.shown().shownOffset(selected.begin),
                                      data.line.shown().shownOffset(selected.end))) {
            recorder.add(draw::Fill{recorder.snapped(area), Rectangle(), selectionColor(node)});
        }
        if (!data.line.shown().string().empty()) {
            recorder.add(draw::Text{origin, data.line.layout(), color});
        } else if (!options.prompt.empty()) {
            recorder.add(
                draw::Text{originOfPrompt(node, data), data.prompt, data.promptColor.at(recorder.now())});
        }
        const double underlineTop = origin.y + data.line.layout()->baseline() + 1;
        for (const auto& area : areas(data.line.shown().marked().begin, data.line.shown().marked().end)) {
            const Rect line{{area.minX(), underlineTop}, {area.size.width, 1}};
            recorder.add(draw::Fill{recorder.snapped(line), Rectangle(), color});
        }
        data.caret = caretRect(node, data, origin.x, recorder);
        const double caretLeft = origin.x + data.line.caretX();
        const bool isInSight = caretLeft >= node.drawn.minX() - 1 && caretLeft <= node.drawn.maxX();
        if (node.hasFocus && recorder.hasKeyboard && data.blink.isShown(recorder) && isInSight) {
            recorder.add(draw::Fill{data.caret, Rectangle(), color});
        }
    }

    /// Between two letters, of the same width everywhere, in whole pixels.
    static Rect caretRect(const Node& node, const Data& data, double left, const Recorder& recorder) {
        const auto& box = node.drawn;
        const double width =
            std::max(1.0, std::round(FieldLine::caretWidth / recorder.pixel())) * recorder.pixel();
        const double middle = left + data.line.caretX() - width / 2;
        const double x = std::min(std::max(box.minX(), middle), box.maxX() - width);
        return {recorder.snapped({{x, box.minY()}, {}}).origin, {width, box.size.height}};
    }

    bool perform(const Node& node, Data& data, const TextCommand& command, const String& typed) const {
        auto& editor = data.editor;
        switch (command.kind) {
            case TextCommand::Kind::moveLeft:
            case TextCommand::Kind::moveRight:
                moveAside(node, data, command);
                return true;
            case TextCommand::Kind::move:
                editor.move(command.way, command.unit, command.selecting);
                return true;
            case TextCommand::Kind::erase:
                erase(data, command.way, wordless(command.unit));
                return true;
            case TextCommand::Kind::type:
                insert(data, typed, TextEditor::Source::typed);
                return true;
            case TextCommand::Kind::copy:
            case TextCommand::Kind::cut:
                return copy(data, command.kind == TextCommand::Kind::cut);
            case TextCommand::Kind::paste:
                if (const auto text = platform::current().pasteboard->stringForType(NSPasteboardTypeString)) {
                    insert(data, *text, TextEditor::Source::pasted);
                }
                return true;
            case TextCommand::Kind::selectAll:
                editor.selectAll();
                return true;
            case TextCommand::Kind::undo:
                editor.undo();
                return true;
            case TextCommand::Kind::redo:
                editor.redo();
                return true;
            case TextCommand::Kind::submit:
                break;
        }
        return false;
    }

    /// The letters of a secret change as the bullets do.
    void insert(Data& data, std::string_view text, TextEditor::Source source) const {
        if (!secret) return data.editor.insert(text, source);
        const auto [begin, end] = data.editor.selection();
        const auto count = secret->replaceLetters(begin / bullet.size(), end / bullet.size(), text);
        data.editor.insert(bullets(count), source);
        data.editor.forgetSteps();
    }

    void erase(Data& data, Way way, Unit unit) const {
        const auto before = data.editor.text().size();
        data.editor.erase(way, unit);
        if (!secret) return;
        const auto begin = data.editor.head();
        const auto end = begin + before - data.editor.text().size();
        secret->replaceLetters(begin / bullet.size(), end / bullet.size(), {});
        data.editor.forgetSteps();
    }

    /// Of nothing, it is left to what is around the field.
    bool copy(Data& data, bool isCut) const {
        if (data.editor.selection().isEmpty()) return false;
        if (secret) return true;
        copyText(data.editor.selectedText());
        if (isCut) data.editor.insert({}, TextEditor::Source::pasted);
        return true;
    }

    /// Where its words end is part of a secret.
    Unit wordless(Unit unit) const { return secret && unit == Unit::word ? Unit::line : unit; }

    void moveAside(const Node& node, Data& data, const TextCommand& command) const {
        auto& editor = data.editor;
        const bool toRight = command.kind == TextCommand::Kind::moveRight;
        const auto way = toRight != isRightToLeft(node, data) ? Way::forward : Way::backward;
        const bool isPlain = command.unit != Unit::grapheme || !data.line.layout() ||
                             !containsRightToLeft(data.line.shown().string());
        if (isPlain) {
            editor.move(way, wordless(command.unit), command.selecting);
            return;
        }
        const auto [begin, end] = editor.selection();
        if (begin != end && command.selecting == Selecting::no) {
            editor.moveTo((data.line.xOf(begin) < data.line.xOf(end)) == toRight ? end : begin,
                          Selecting::no);
        } else {
            const auto range = data.line.shown().range();
            const auto last = way == Way::forward ? range.end : range.begin;
            editor.moveTo(data.line.offsetBeside(editor.head(), toRight).value_or(last), command.selecting);
        }
    }

    Binding<String> text;
    std::shared_ptr<SecretText> secret;
    TextFieldOptions options;
    Handlers handlers_;
};

}  // namespace

TextField::TextField(const Binding<String>& text, TextFieldOptions options)
    : View(std::make_shared<const TextFieldElement>(text, nullptr, std::move(options))) {}

SecretField::SecretField(const std::shared_ptr<SecretText>& secret, TextFieldOptions options)
    : View(std::make_shared<const TextFieldElement>(
          Binding<String>([secret] { return bullets(secret->letterCount()); }, nullptr), secret,
          std::move(options))) {}

}  // namespace vellumix::view
