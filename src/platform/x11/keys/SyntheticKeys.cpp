#include "platform/x11/keys/SyntheticKeys.h"

#include <linux/input-event-codes.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

// The header of libxcb names a field "explicit".
#define explicit isExplicit
#include <xcb/xkb.h>
#undef explicit

#include <algorithm>
#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix::x11 {

namespace {

constexpr std::pair<KeyChord, ApplicationChords::Meaning> knownChords[] = {
    {{.keyCode = 9, .flags = kCGEventFlagMaskCommand}, ApplicationChords::Meaning::paste},
    {{.keyCode = 8, .flags = kCGEventFlagMaskCommand}, ApplicationChords::Meaning::copy},
    {{.keyCode = 51, .flags = kCGEventFlagMaskCommand}, ApplicationChords::Meaning::trash},
};
constexpr double patienceSeconds = 0.5;
/// Longer than a person holds a combination that did nothing yet, and short enough for nobody to have
/// forgotten it. With other modifiers the keys would mean something else, so there is no going out with them.
constexpr double holdingSeconds = 5;
constexpr double pollSeconds = 0.01;
/// Longer than a program takes to ask for what it pastes.
constexpr double primarySeconds = 2;

/// The key of a letter on an American board.
std::optional<xcb_keycode_t> keyAtPlaceOf(xkb_keysym_t symbol) {
    for (unsigned position = KEY_Q; position <= KEY_M; ++position) {
        const auto letter = letterAt(position);
        // The keysyms of ASCII are its codes (X protocol, appendix A).
        if (letter && static_cast<xkb_keysym_t>(*letter) == symbol) return keyCodeOf(position);
    }
    return std::nullopt;
}

bool hasTestExtension(Connection& connection) {
    const auto* const extension = xcb_get_extension_data(connection.xcb(), &xcb_test_id);
    return extension && extension->present;
}

}  // namespace

SyntheticKeys::SyntheticKeys(Connection& connection, KeyboardMap& keyboard, KeyGrabs& grabs,
                             const Workspace& workspace, const Pasteboard& pasteboard,
                             std::function<bool()> hasKeyboard, std::function<void(Lack)> tellUser)
    : connection(connection),
      keyboard(keyboard),
      grabs(grabs),
      workspace(workspace),
      pasteboard(pasteboard),
      hasTest(hasTestExtension(connection)),
      hasKeyboard(std::move(hasKeyboard)),
      tellUser(std::move(tellUser)) {}

bool SyntheticKeys::AXIsProcessTrustedWithOptions(bool prompts) {
    if (!hasTest) {
        if (prompts && !std::exchange(hasToldOfExtension, true)) {
            Log("SyntheticKeys")
                .error("The display has no XTEST extension; what is picked waits on the clipboard");
            if (tellUser) tellUser(Lack::extension);
        }
        return false;
    }
    if (!workspace.frontChords(Meaning::paste).empty()) return true;
    if (prompts && tellUser) tellUser(Lack::chord);
    return false;
}

void SyntheticKeys::CGEventPost(const KeyChord& chord) {
    const auto* const known = std::ranges::find(knownChords, chord, &std::pair<KeyChord, Meaning>::first);
    if (known == std::end(knownChords) || !hasTest) return;
    Posting posting{.meaning = known->second, .deadline = connection.runLoop().uptime() + patienceSeconds};
    if (posting.meaning != Meaning::paste) {
        posting.deadline = connection.runLoop().uptime() + holdingSeconds;
        if (const auto front = workspace.frontmostApplication()) posting.window = front->window;
        posting.followsCopy = posting.meaning == Meaning::trash && lastPosted == Meaning::copy;
    }
    lastPosted = posting.meaning;
    postings.push_back(posting);
    if (!waiting) goOn();
}

void SyntheticKeys::goOn() {
    while (!postings.empty() && deliver(postings.front())) postings.pop_front();
    if (postings.empty()) {
        waiting.reset();
    } else {
        waiting = connection.runLoop().oneShotTimer(pollSeconds, [this] { goOn(); });
    }
}

bool SyntheticKeys::deliver(Posting& posting) {
    return posting.meaning == Meaning::paste ? deliverPaste(posting) : deliverToSelection(posting);
}

std::optional<SyntheticKeys::Keys> SyntheticKeys::frontKeys(Meaning meaning) const {
    const auto keys = keysFor(workspace.frontChords(meaning));
    if (!keys) Log("SyntheticKeys").error("There is no key for what the front application was asked for");
    return keys;
}

bool SyntheticKeys::deliverPaste(Posting& posting) {
    const auto keys = frontKeys(Meaning::paste);
    if (!keys) return true;
    const bool readsPrimary = keys->chord.readsPrimary;
    if (readsPrimary && !std::exchange(posting.hasPrimary, true)) lendPrimary();
    const bool isOffered = !pasteboard.isClaiming() && !(readsPrimary && primary->isClaiming());
    const bool isLate = connection.runLoop().uptime() > posting.deadline;
    if ((!isOffered || isUserHoldingModifiers()) && !isLate) return false;
    if (isOffered) {
        press(*keys);
    } else {
        Log("SyntheticKeys").error("The clipboard couldn't be taken in time; nothing is pasted");
    }
    return true;
}

bool SyntheticKeys::deliverToSelection(const Posting& posting) {
    const auto giveUp = [&](const char* reason) {
        Log("SyntheticKeys").error(reason);
        copyingWindow = XCB_WINDOW_NONE;
        return true;
    };
    const auto front = workspace.frontmostApplication();
    // What is selected in another window was never meant.
    if (!front || front->window != posting.window)
        return giveUp("Another window is in front; nothing is cut");
    if (posting.followsCopy && copyingWindow != posting.window) return true;
    const double deadline = posting.followsCopy ? copyDeadline : posting.deadline;
    // The keys that are down would change the chord, and an event tap may still keep one of them.
    const bool isReady = !(posting.followsCopy && !hasCopied) && !KeysDown(connection).any() &&
                         !(hasKeyboard && hasKeyboard());
    if (!isReady && connection.runLoop().uptime() <= deadline) return false;
    if (!isReady) return giveUp("The keys were held too long, or nothing was copied; nothing is cut");
    copyingWindow = XCB_WINDOW_NONE;
    copies.cancel();
    const auto keys = frontKeys(posting.meaning);
    if (!keys) return true;
    if (posting.meaning == Meaning::copy) beginCopy(posting.window);
    press(*keys);
    return true;
}

void SyntheticKeys::beginCopy(xcb_window_t window) {
    copyingWindow = window;
    hasCopied = false;
    copies = connection.observeSelection(
        connection.atoms().clipboard, [this, window](const SelectionChange& change) {
            hasCopied |= change.owner != XCB_WINDOW_NONE && connection.isSameClient(change.owner, window);
        });
    // What is copied there much later is another copy, by the user's own hand.
    copyDeadline = connection.runLoop().uptime() + patienceSeconds;
}

bool SyntheticKeys::isUserHoldingModifiers() const {
    const auto& modifiers = keyboard.modifiers();
    const KeysDown down(connection);
    const auto keys = modifiers.keysOf(static_cast<ModifierMap::Mask>(~modifiers.locks()));
    return std::ranges::any_of(keys, [&](xcb_keycode_t key) { return down.test(key); });
}

void SyntheticKeys::lendPrimary() {
    if (!primary) {
        primary = std::make_unique<SelectionOwner>(connection, XCB_ATOM_PRIMARY, TransferLimits());
    }
    primary->offer(Offer::of(pasteboard.content(), connection));
    primaryEnd = connection.runLoop().oneShotTimer(primarySeconds, [this] { returnPrimary(); });
}

void SyntheticKeys::returnPrimary() {
    if (primary->activeTransfers() > 0) {
        primaryEnd = connection.runLoop().oneShotTimer(primarySeconds, [this] { returnPrimary(); });
        return;
    }
    primaryEnd.reset();
    primary.reset();
}

void SyntheticKeys::press(const Keys& found) {
    const auto& chord = found.chord;
    const auto& modifiers = keyboard.modifiers();
    const KeysDown down(connection);
    const auto& held = chord.modifiers;
    const std::pair<bool, ModifierMap::Mask> wanted[] = {
        {held.hasControl, ModifierMap::Mask{XCB_MOD_MASK_CONTROL}},
        {held.hasShift, ModifierMap::Mask{XCB_MOD_MASK_SHIFT}},
        {held.hasOption, modifiers.option()},
        {held.hasCommand, modifiers.command()},
    };
    std::vector<xcb_keycode_t> keys;
    for (const auto& [isWanted, mask] : wanted) {
        const auto candidates = isWanted ? modifiers.keysOf(mask) : std::vector<xcb_keycode_t>();
        const bool isDown =
            std::ranges::any_of(candidates, [&](xcb_keycode_t candidate) { return down.test(candidate); });
        // One that the user holds is the user's to release.
        if (!candidates.empty() && !isDown) keys.push_back(candidates.front());
    }
    keys.push_back(found.key);

    const auto send = [&](std::uint8_t kind, xcb_keycode_t code) {
        xcb_test_fake_input(connection.xcb(), kind, code, XCB_CURRENT_TIME, connection.root(), 0, 0, 0);
    };
    // A shortcut of the program's own may be the very chord.
    grabs.without(found.key, [&] {
        for (const auto code : keys) send(XCB_KEY_PRESS, code);
        std::ranges::reverse(keys);
        for (const auto code : keys) send(XCB_KEY_RELEASE, code);
    });
}

std::optional<SyntheticKeys::Keys> SyntheticKeys::keysFor(const std::vector<ApplicationChord>& chords) const {
    const auto keymap = keyboard.keymap();
    if (!keymap) return std::nullopt;
    for (const auto& chord : chords) {
        if (const auto key = keyTyping(chord.key, keymap.get())) return Keys{chord, *key};
    }
    // Some programs take a chord by the place of its key where no layout has the letter.
    for (const auto& chord : chords) {
        if (const auto key = keyAtPlaceOf(chord.key)) return Keys{chord, *key};
    }
    return std::nullopt;
}

std::optional<xcb_keycode_t> SyntheticKeys::keyTyping(xkb_keysym_t symbol, xkb_keymap* keymap) const {
    auto* const xcb = connection.xcb();
    const auto state =
        xcb::await<xcb_xkb_get_state_reply>(xcb, xcb_xkb_get_state(xcb, XCB_XKB_ID_USE_CORE_KBD));
    const auto layouts = xkb_keymap_num_layouts(keymap);
    const xkb_layout_index_t present = state ? state->group : 0;
    for (xkb_layout_index_t turn = 0; turn <= layouts; ++turn) {
        // The present layout, and then all in their order.
        const auto layout = turn == 0 ? present : turn - 1;
        const auto last = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(keymap), 0xFF);
        for (auto code = xkb_keymap_min_keycode(keymap); code <= last; ++code) {
            const xkb_keysym_t* symbols = nullptr;
            if (xkb_keymap_key_get_syms_by_level(keymap, code, layout, 0, &symbols) == 1 &&
                *symbols == symbol) {
                return static_cast<xcb_keycode_t>(code);
            }
        }
    }
    return std::nullopt;
}

}  // namespace vellumix::x11
