#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/desktop/Keyboard.h"
#include "platform/x11/applications/Workspace.h"
#include "platform/x11/keys/KeyCodes.h"
#include "platform/x11/keys/KeyGrabs.h"
#include "platform/x11/keys/KeyboardMap.h"
#include "platform/x11/selections/Pasteboard.h"

namespace vellumix::x11 {

/// Keys by the XTEST extension (XTEST 2.2), without which there are none. Keys go to the window with the
/// input focus.
///
/// Nothing is pasted before what was written to the pasteboard is offered to other programs, and nothing at
/// all where that takes half a second. For an application that pastes the selection PRIMARY, that selection
/// is taken with the same content, and left two seconds later; what was selected elsewhere is then selected
/// no more.
class SyntheticKeys final : public vellumix::SyntheticKeys {
public:
    /// Why nothing can be pressed.
    enum class Lack {
        /// The display has no XTEST extension. Told once.
        extension,
        /// No keys are known that paste into the front application. Told each time.
        chord,
    };

    /// All must outlive it. `hasKeyboard`: whether keys go to a window of the program. `tellUser` is called
    /// when keys to paste are wanted and there are none.
    SyntheticKeys(Connection& connection, KeyboardMap& keyboard, KeyGrabs& grabs, const Workspace& workspace,
                  const Pasteboard& pasteboard, std::function<bool()> hasKeyboard = {},
                  std::function<void(Lack)> tellUser = {});
    SyntheticKeys(const SyntheticKeys&) = delete;
    SyntheticKeys& operator=(const SyntheticKeys&) = delete;

    bool AXIsProcessTrustedWithOptions(bool prompts) override;
    void CGEventPost(const KeyChord& chord) override;

private:
    using Meaning = ApplicationChords::Meaning;
    struct Posting {
        Meaning meaning = Meaning::paste;
        /// When it goes out at the latest, as `RunLoop::uptime` counts.
        double deadline = 0;
        bool hasPrimary = false;
        /// For a copy and for the trash: the window that was in front.
        xcb_window_t window = XCB_WINDOW_NONE;
        /// A move to the trash right after a copy.
        bool followsCopy = false;
    };
    /// A chord, and the key that it is pressed by.
    struct Keys {
        ApplicationChord chord;
        xcb_keycode_t key;
    };

    void goOn();
    /// False while it must wait.
    bool deliver(Posting& posting);
    bool deliverPaste(Posting& posting);
    bool deliverToSelection(const Posting& posting);
    void beginCopy(xcb_window_t window);
    /// Nothing, with a line in the log, where the front application or the keyboard has no key for it.
    std::optional<Keys> frontKeys(Meaning meaning) const;
    bool isUserHoldingModifiers() const;
    void lendPrimary();
    void returnPrimary();
    void press(const Keys& keys);
    /// The first chord that the keyboard has the key of.
    std::optional<Keys> keysFor(const std::vector<ApplicationChord>& chords) const;
    /// The key that types the sign without modifiers, in the present layout if there is one.
    std::optional<xcb_keycode_t> keyTyping(xkb_keysym_t symbol, xkb_keymap* keymap) const;

    Connection& connection;
    KeyboardMap& keyboard;
    KeyGrabs& grabs;
    const Workspace& workspace;
    const Pasteboard& pasteboard;
    const bool hasTest;
    std::function<bool()> hasKeyboard;
    std::function<void(Lack)> tellUser;
    bool hasToldOfExtension = false;
    std::deque<Posting> postings;
    /// The chord that was posted last.
    Meaning lastPosted = Meaning::paste;
    /// The window that a copy was pressed in, until something else is.
    xcb_window_t copyingWindow = XCB_WINDOW_NONE;
    double copyDeadline = 0;
    bool hasCopied = false;
    Observation copies;
    std::unique_ptr<NSTimer> waiting;
    std::unique_ptr<SelectionOwner> primary;
    std::unique_ptr<NSTimer> primaryEnd;
};

}  // namespace vellumix::x11
