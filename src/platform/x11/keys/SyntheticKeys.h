#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/desktop/Keyboard.h"
#include "platform/x11/applications/Workspace.h"
#include "platform/x11/keys/KeyCodes.h"
#include "platform/x11/keys/KeyboardMap.h"
#include "platform/x11/keys/PasteChords.h"
#include "platform/x11/selections/Pasteboard.h"

namespace vellumix::x11 {

/// Keys by the XTEST extension (XTEST 2.2), without which there are none. Keys go to the window with the
/// input focus.
///
/// Nothing is posted before what was written to the pasteboard is offered to other programs, and nothing at
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

    /// All must outlive it. `tellUser` is called when keys are wanted and there are none.
    SyntheticKeys(Connection& connection, KeyboardMap& keyboard, const Workspace& workspace,
                  const Pasteboard& pasteboard, PasteChords chords = PasteChords(),
                  std::function<void(Lack)> tellUser = {});
    SyntheticKeys(const SyntheticKeys&) = delete;
    SyntheticKeys& operator=(const SyntheticKeys&) = delete;

    bool AXIsProcessTrustedWithOptions(bool prompts) override;
    /// Knows Command-V alone.
    void CGEventPost(const KeyChord& chord) override;

private:
    struct Paste {
        /// When it goes out at the latest, as `RunLoop::uptime` counts.
        double deadline;
        bool hasPrimary = false;
    };
    /// A chord, and the key that it is pressed by.
    struct Keys {
        PasteChord chord;
        xcb_keycode_t key;
    };

    void goOn();
    /// False while it must wait.
    bool deliver(Paste& paste);
    bool isUserHoldingModifiers() const;
    void lendPrimary();
    void returnPrimary();
    void press(const Keys& keys);
    /// The first chord that the keyboard has the key of.
    std::optional<Keys> keysFor(const std::vector<PasteChord>& chords) const;
    /// The key that types the sign without modifiers, in the present layout if there is one.
    std::optional<xcb_keycode_t> keyTyping(xkb_keysym_t symbol, xkb_keymap* keymap) const;

    Connection& connection;
    KeyboardMap& keyboard;
    const Workspace& workspace;
    const Pasteboard& pasteboard;
    const PasteChords chords;
    const bool hasTest;
    std::function<void(Lack)> tellUser;
    bool hasToldOfExtension = false;
    std::deque<Paste> pastes;
    std::unique_ptr<NSTimer> waiting;
    std::unique_ptr<SelectionOwner> primary;
    std::unique_ptr<NSTimer> primaryEnd;
};

}  // namespace vellumix::x11
