#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/desktop/Event.h"
#include "platform/foundation/observation/Observation.h"

/// The keyboard of the desktop beyond the program's own windows. Virtual key codes stand for places on the
/// board, whatever the layout writes on them; 9 is the key that an American board calls V.
namespace vellumix {

/// The modifiers of a hotkey, as bits of a mask. Other bits mean nothing to any desktop.
inline constexpr std::uint32_t cmdKey = 0x100;
inline constexpr std::uint32_t shiftKey = 0x200;
inline constexpr std::uint32_t optionKey = 0x800;
inline constexpr std::uint32_t controlKey = 0x1000;

/// The modifiers of a key event, as bits of a mask.
using CGEventFlags = std::uint64_t;
inline constexpr CGEventFlags kCGEventFlagMaskShift = 0x20000;
inline constexpr CGEventFlags kCGEventFlagMaskControl = 0x40000;
inline constexpr CGEventFlags kCGEventFlagMaskAlternate = 0x80000;
inline constexpr CGEventFlags kCGEventFlagMaskCommand = 0x100000;

/// The key's position as `KeyEvent` counts it; absent for a code that no board has.
std::optional<unsigned> positionOfVirtualKey(std::uint32_t keyCode);

/// What a press of a hotkey calls, for as long as somebody holds this.
using EventHandlerRef = std::shared_ptr<const std::function<void()>>;

/// Combinations that reach the program whichever application is in front. Main thread only.
class Hotkeys {
public:
    virtual ~Hotkeys() = default;
    /// For the registrations that name it as their target; alone it hears of nothing.
    static EventHandlerRef InstallEventHandler(std::function<void()> function) {
        return std::make_shared<const std::function<void()>>(std::move(function));
    }
    /// Takes the combination until the observation ends. Calls the target from the main loop, once for each
    /// press of this combination and of no other; a key that is held is one press. The target isn't kept
    /// alive, and may end the registration. Absent when another program has it, and when the
    /// desktop or its keyboard can't give it. Lock keys make no difference. While a window of the program has
    /// the keyboard, the press is taken before it.
    virtual std::optional<Observation> RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                           const EventHandlerRef& target) = 0;
    /// False while another program has a registered combination, to which a change of the keyboard can lead.
    /// It works again soon after the other has let go.
    virtual bool hasAllHotKeys() const = 0;
};

/// A key with its modifiers, pressed and released.
struct KeyChord {
    std::uint32_t keyCode = 0;
    CGEventFlags flags = 0;

    friend bool operator==(const KeyChord&, const KeyChord&) = default;
};

/// Keys that the program presses for the user. Main thread only.
class SyntheticKeys {
public:
    virtual ~SyntheticKeys() = default;
    /// Whether keys can be posted, and would mean something to the application in front. With `prompts`, a
    /// desktop that must ask its user asks now, and the user is told why not; the answer is that of the
    /// present moment, and neither the user nor another program is waited for.
    virtual bool AXIsProcessTrustedWithOptions(bool prompts) = 0;
    /// Asks the front application for what the chord means, by the keys that mean it there. Three chords are
    /// known on every desktop; one that the application has no keys for does nothing.
    ///
    /// Command-V is its paste, and it then finds what was last written to the pasteboard. It goes out as soon
    /// as the user's own modifiers are up, at the latest half a second later, to whichever application is in
    /// front then.
    ///
    /// Command-C is its copy, and Command-Delete its move to the trash, of what is selected there. They go
    /// out as soon as the user holds no key, to the window that is in front now; where another one is by
    /// then, or the user holds on for five seconds, nothing does. A move to the trash right after a copy
    /// waits until the window has copied, and where that takes half a second there is none: nothing was
    /// selected.
    ///
    /// All in the order of the calls. None comes to a hotkey or an event tap of the program's own.
    virtual void CGEventPost(const KeyChord& chord) = 0;
};

}  // namespace vellumix
