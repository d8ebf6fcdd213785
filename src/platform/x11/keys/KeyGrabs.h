#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/x11/keys/KeyCodes.h"
#include "platform/x11/keys/KeyboardMap.h"

namespace vellumix::x11 {

/// Combinations of keys that come to this program whichever program has the keyboard: passive grabs on the
/// root window (X protocol, request "GrabKey"), one for each way in which the lock keys can stand. They
/// follow the keyboard when its modifiers change. While another program holds the whole keyboard, as an open
/// menu does, none of them comes. Main thread.
class KeyGrabs {
public:
    /// What a press does.
    enum class Manner {
        /// It is this program's.
        taken,
        /// The keyboard stands still until this program has said where the press goes ("AllowEvents").
        asked,
    };
    struct Combination {
        xcb_keycode_t key = 0;
        KeyModifiers modifiers;
    };
    /// A combination that is grabbed. Ends the grab with itself; `KeyGrabs` must outlive it.
    class Grab;
    /// True keeps a press or release of a key from those who are asked later.
    using Filter = std::function<bool(const xcb_key_press_event_t&)>;

    /// Both must outlive it.
    KeyGrabs(Connection& connection, KeyboardMap& keyboard);
    ~KeyGrabs();
    KeyGrabs(const KeyGrabs&) = delete;
    KeyGrabs& operator=(const KeyGrabs&) = delete;

    /// Null when the combination is grabbed already, here or by another program. Waits for the server, once
    /// for all of them.
    ///
    /// After a change of the keyboard it can turn out that another program has what the combination has
    /// become. `onLoss` is then called, from the loop; without one the grab is tried again every few seconds,
    /// as the server doesn't tell when another program's ends.
    std::unique_ptr<Grab> grab(const Combination& combination, Manner manner,
                               std::function<void()> onLoss = {});
    /// Those who want the keys of their manner; the one of what is asked goes first.
    void setFilter(Manner manner, Filter filter);
    /// Runs what presses a key, so that no grab hears of it. The key is gone on before any other program can
    /// take the combination.
    void without(xcb_keycode_t key, const std::function<void()>& press);

private:
    bool filter(const xcb_key_press_event_t& event) const;
    void keyboardChanged();
    void grabWhatIsMissing();
    /// All grabs of the combination, or none.
    bool take(const Grab& grab);
    /// Sends the requests.
    std::vector<xcb_void_cookie_t> request(const Grab& grab);
    void release(const Grab& grab);
    std::vector<ModifierMap::Mask> statesOf(const Grab& grab) const;

    Connection& connection;
    KeyboardMap& keyboard;
    /// With which the present grabs were made.
    ModifierMap modifiers;
    std::vector<Grab*> grabs;
    Filter askedFilter;
    Filter takenFilter;
    std::unique_ptr<NSTimer> retry;
    Observation changes;
};

class KeyGrabs::Grab {
public:
    ~Grab();
    Grab(const Grab&) = delete;
    Grab& operator=(const Grab&) = delete;

    /// False while another program has it.
    bool isHeld() const { return isHeld_; }
    /// Whether a press is this combination's, whichever way it came, and however the locks stand.
    bool isPressedBy(const xcb_key_press_event_t& event) const;

private:
    friend class KeyGrabs;
    Grab(KeyGrabs& owner, const Combination& combination, Manner manner, std::function<void()> onLoss);

    KeyGrabs& owner;
    const Combination combination;
    const Manner manner;
    const std::function<void()> onLoss;
    bool isHeld_ = false;
};

}  // namespace vellumix::x11
