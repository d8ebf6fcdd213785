#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/loop/Log.h"
#include "platform/x11/selections/Pasteboard.h"
#include "x11/DisplayRig.h"

namespace vellumix::tests {

/// Keeps the lines of the log.
class LogLines final : public LogSink {
public:
    LogLines() : outer(Log::install(this)) {}
    ~LogLines() override { Log::install(outer); }
    void write(Level level, std::string_view category, std::string_view message) override {
        if (level == Level::error) text += "error: ";
        text += std::string(category) + ": " + std::string(message) + "\n";
    }

    std::string text;

private:
    LogSink* outer;
};

/// A private display with a pasteboard on it, and another program beside it.
class X11Test : public testing::Test, protected DisplayRig {
protected:
    explicit X11Test(const x11::TransferLimits& limits = {}) {
        if (!connection) return;
        open(limits);
        peer = std::make_unique<Peer>(runLoop);
    }

    void SetUp() override { ASSERT_TRUE(connection) << trouble; }

    /// A pasteboard with other limits in place of the present one.
    void open(const x11::TransferLimits& limits) {
        // The part of the clipboard manager is free again then.
        pasteboard.reset();
        pasteboard = std::make_unique<x11::Pasteboard>(*connection, limits);
        changes = pasteboard->observeChanges([this] {
            ++changesSeen;
            if (onChange) onChange();
        });
        dropped = pasteboard->observeDrops([this](RefusalReason reason) { drops.push_back(reason); });
        settle();
    }

    /// What this program and the other one have sent so far has been handled by the server, and its answers
    /// here.
    void settle() {
        if (!peer) peer = std::make_unique<Peer>(runLoop);
        peer->synchronize();
        DisplayRig::settle();
    }

    xcb_window_t presentOwner() {
        const auto owner = x11::xcb::await<xcb_get_selection_owner_reply>(
            connection->xcb(), xcb_get_selection_owner(connection->xcb(), connection->atoms().clipboard));
        return owner ? owner->owner : xcb_window_t{XCB_WINDOW_NONE};
    }
    bool waitForOurOwnership() {
        const auto* setup = xcb_get_setup(connection->xcb());
        return wait([&] { return (presentOwner() & ~setup->resource_id_mask) == setup->resource_id_base; });
    }
    /// Waits until the clipboard is empty, and still is after all that was due.
    bool waitForNoOwner() {
        if (!wait([&] { return presentOwner() == XCB_WINDOW_NONE; })) return false;
        settle();
        settle();
        return presentOwner() == XCB_WINDOW_NONE;
    }

    /// Waits for one more change than there was; the text that it brought, or "-".
    std::string nextText(double seconds = 5) {
        const auto seen = changesSeen;
        if (!wait([&] { return changesSeen > seen; }, seconds)) return "no change";
        return text();
    }
    std::string text() const {
        const auto found = pasteboard->stringForType(NSPasteboardTypeString);
        return found ? found->string() : "-";
    }
    bool hasType(std::string_view type) const {
        const auto types = pasteboard->types();
        return std::find(types.begin(), types.end(), type) != types.end();
    }
    /// Writes text of our own, and returns when it can be pasted.
    void write(const std::string& text) {
        pasteboard->clearContents();
        ASSERT_TRUE(pasteboard->setString(text, NSPasteboardTypeString));
        ASSERT_TRUE(waitForOurOwnership());
    }

    LogLines log;
    std::unique_ptr<x11::Pasteboard> pasteboard;
    std::unique_ptr<Peer> peer;
    int changesSeen = 0;
    std::function<void()> onChange;
    std::vector<RefusalReason> drops;
    Observation changes;
    Observation dropped;
};

}  // namespace vellumix::tests
