#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/view/tree/ViewTree.h"
#include "platform/view/values/Views.h"
#include "support/FixedTextSetter.h"

namespace vellumix::view {

/// A tree on fixed metrics and a clock that moves when it is told to, worked by role and label.
class TreeUnderTest {
public:
    explicit TreeUnderTest(const View& root, Surface surface = {{200, 200}})
        : tree(std::make_unique<ViewTree>(root, *texts, surface)) {
        frame();
    }

    const DrawingList& frame(double seconds = 0) {
        now += seconds;
        return tree->frame(now);
    }

    SemanticNode find(Role role, std::string_view label) {
        frame();
        const auto window = tree->semantics();
        const auto* found = window.find(role, label);
        EXPECT_NE(found, nullptr) << nameOf(role) << " " << label << " isn't in\n" << tree->semanticsDump();
        return found ? *found : SemanticNode();
    }
    bool has(Role role, std::string_view label) {
        frame();
        return tree->semantics().find(role, label) != nullptr;
    }

    void hover(Role role, std::string_view label) {
        tree->pointerMoved(find(role, label).frame.centre());
        frame();
    }
    void click(Role role, std::string_view label) {
        const auto at = find(role, label).frame.centre();
        tree->pointerPressed({at});
        if (tree) tree->pointerReleased(at);
        if (tree) frame();
    }
    bool press(Key key, KeyModifiers modifiers = {}, const std::string& text = {}) {
        const bool isTaken = tree->keyPressed({key, text, modifiers});
        if (tree) frame();
        return isTaken;
    }

    template <class Command>
    std::vector<Command> drawn() {
        std::vector<Command> found;
        for (const auto& command : frame()) {
            if (const auto* one = std::get_if<Command>(&command)) found.push_back(*one);
        }
        return found;
    }

    std::unique_ptr<TextSetter> texts = fixedTextSetter();
    std::unique_ptr<ViewTree> tree;
    double now = 100;
};

}  // namespace vellumix::view
