#include <algorithm>

#include "platform/view/text/SelectedText.h"
#include "platform/view/text/TextKeys.h"
#include "platform/view/tree/Handlers.h"
#include "platform/view/tree/InputElement.h"
#include "platform/view/tree/Node.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

using Selecting = TextEditor::Selecting;
using Unit = TextEditor::Unit;

/// Lets the text in it be selected. What is there to select is what it shows: the rest of a text that is cut
/// can't be seen to be selected.
class SelectableElement final : public InputElement {
public:
    explicit SelectableElement(View content) : content(std::move(content)) {
        handlers_.focus = Handlers::Focus::byPressAlone;
        handlers_.cursor = Cursor::text;
    }

    const char* name() const override { return "Selectable"; }
    const Handlers* handlers() const override { return &handlers_; }
    bool isSolid() const override { return true; }
    void children(Node&, ChildList& list) const override { list.add(content); }

    void record(Node& node, Recorder& recorder) const override {
        const auto* data = node.dataIfAny<Data>();
        const auto shown = data && node.hasFocus ? textIn(node) : std::nullopt;
        const auto selected = data ? data->editor.selection() : TextRange();
        if (shown && !selected.isEmpty() && shown->text == data->text) {
            for (auto area : shown->layout->areas(selected.begin, selected.end)) {
                area.origin = area.origin + shown->origin;
                recorder.add(draw::Fill{recorder.snapped(area), Rectangle(), selectionColor(node)});
            }
        }
        recorder.recordChildren(node);
    }

    void pointerPressed(Node& node, const PointerPress& press) const override {
        auto& data = followed(node);
        const auto selecting = press.modifiers.hasShift ? Selecting::yes : Selecting::no;
        const auto unit = press.clickCount <= 1   ? Unit::grapheme
                          : press.clickCount == 2 ? Unit::word
                                                  : Unit::line;
        data.editor.pressAt(offsetAt(node, press.at), unit, selecting);
    }
    void pointerDragged(Node& node, Point at) const override {
        followed(node).editor.dragTo(offsetAt(node, at));
    }
    void pointerReleased(Node&) const override {}

    bool keyPressed(Node& node, const KeyEvent& event) const override {
        const auto command = textCommandOf(event);
        auto& editor = followed(node).editor;
        if (command && command->kind == TextCommand::Kind::selectAll) {
            editor.selectAll();
            return true;
        }
        if (!command || command->kind != TextCommand::Kind::copy || editor.selection().isEmpty())
            return false;
        copyText(editor.selectedText());
        return true;
    }

private:
    struct Data final : NodeData {
        String text;
        TextEditor editor;
    };

    static std::optional<SetText> textIn(const Node& node) {
        for (const auto* inside = &node; inside->children.size() == 1;) {
            inside = inside->children.front().get();
            if (auto text = inside->element->setText(*inside)) return text;
        }
        return std::nullopt;
    }
    static std::size_t offsetAt(const Node& node, Point at) {
        const auto shown = textIn(node);
        return shown ? shown->layout->offsetAt(at - shown->origin) : 0;
    }
    static Data& followed(Node& node) {
        auto& data = node.data<Data>();
        const auto shown = textIn(node);
        if (const auto text = shown ? shown->text : String(); !(text == data.text)) {
            data.text = text;
            data.editor.reset(text.string());
        }
        return data;
    }

    View content;
    Handlers handlers_;
};

}  // namespace

View View::selectable() const { return View(std::make_shared<const SelectableElement>(*this)); }

}  // namespace vellumix::view
