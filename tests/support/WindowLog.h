#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "platform/desktop/Window.h"

namespace vellumix::tests {

/// Draws a window in one colour, and keeps what it is told.
class WindowLog final : public NSWindowDelegate {
public:
    explicit WindowLog(NSWindow& shown, std::uint32_t argb = 0xFF336699) : window(shown), colour(argb) {
        window.setDelegate(this);
        draw();
    }
    ~WindowLog() override { window.setDelegate(nullptr); }
    WindowLog(const WindowLog&) = delete;
    WindowLog& operator=(const WindowLog&) = delete;

    void draw() {
        const auto buffer = window.beginDrawing();
        for (std::size_t at = 0; at + sizeof colour <= buffer.memory.size(); at += sizeof colour) {
            std::memcpy(buffer.memory.data() + at, &colour, sizeof colour);
        }
        window.endDrawing();
    }

    void pointerMoved(Point at) override { pointer = at; }
    void pointerLeft() override {}
    void pointerPressed(const PointerPress& press) override { presses.push_back(press); }
    void pointerReleased(Point, PointerButton) override { ++releases; }
    void scrolled(Point, double down, double) override { scrolledDown += down; }
    void keyPressed(const KeyEvent& event) override { keys.push_back(event); }
    void textComposed(const MarkedText& text) override { marked = text; }
    void keyStateChanged(bool isKey) override { keyStates += isKey ? '+' : '-'; }
    void frameChanged(bool hasResized, bool hasMoved) override {
        frames += std::string(hasResized ? "resized" : "") + (hasMoved ? "moved" : "") + " ";
        if (hasResized) draw();
    }
    void needsDisplay() override { draw(); }
    void closeRequested() override { ++closes; }

    NSWindow& window;
    std::uint32_t colour;
    Point pointer;
    std::vector<PointerPress> presses;
    std::vector<KeyEvent> keys;
    MarkedText marked;
    std::string keyStates;
    std::string frames;
    double scrolledDown = 0;
    int releases = 0;
    int closes = 0;
};

}  // namespace vellumix::tests
