#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/view/windows/AttachedWindow.h"

namespace vellumix::view {

struct MenuModel;

/// What an open menu looks like, in its window; for pictures.
View menuContent(const MenuRequest& request, std::optional<std::size_t> highlighted, const Chrome& chrome);

/// An open menu, from its making to its destruction. Main thread only.
class PopUpMenu {
public:
    /// What was chosen; nothing where the menu was closed. Called once at most, and may destroy the menu.
    using End = std::function<void(Action chosen)>;

    /// `anchor` and `bounds` are in the space of the monitors.
    PopUpMenu(const MenuRequest& request, const Rect& anchor, const Rect& bounds, Renderer& renderer,
              End onEnd);
    ~PopUpMenu();
    PopUpMenu(const PopUpMenu&) = delete;
    PopUpMenu& operator=(const PopUpMenu&) = delete;

    /// The pointer, held down since it opened the menu, in the space of the monitors.
    void dragged(Point pointer);
    /// Chooses the item there. Beside the menu it closes; on the anchor it stays.
    void released(Point pointer);
    /// Up and down with a wrap, home, end, enter, space, escape, left, and the first letters of titles.
    void keyPressed(const KeyEvent& event);

private:
    void hover(std::size_t item, bool isOver);
    void highlight(std::optional<std::size_t> item);
    /// The next one after `from` in the direction `by` that can be chosen and passes.
    void step(std::size_t from, std::size_t by, const std::function<bool(const MenuItem&)>& passes = {});
    void choose(std::size_t item);
    void close();

    std::shared_ptr<MenuModel> model;
    End onEnd;
    Rect anchor;
    /// Where the pointer rested when a key was pressed: rows that move under it aren't pointed at.
    std::optional<Point> restingPointer;
    std::unique_ptr<AttachedWindow> window;
    Observation pressesElsewhere;
    Observation keyState;
    Observation closing;
};

}  // namespace vellumix::view
