#include "platform/x11/keys/KeyCodes.h"

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

namespace vellumix::x11 {

namespace {

constexpr unsigned evdevOffset = 8;

}  // namespace

unsigned positionOf(xcb_keycode_t code) { return code >= evdevOffset ? code - evdevOffset : 0; }

xcb_keycode_t keyCodeOf(unsigned position) {
    constexpr unsigned last = std::numeric_limits<xcb_keycode_t>::max() - evdevOffset;
    return position <= last ? static_cast<xcb_keycode_t>(position + evdevOffset) : xcb_keycode_t{0};
}

std::optional<char> letterAt(unsigned position) {
    constexpr std::pair<unsigned, std::string_view> rows[] = {
        {KEY_Q, "qwertyuiop"}, {KEY_A, "asdfghjkl"}, {KEY_Z, "zxcvbnm"}};
    for (const auto& [first, letters] : rows) {
        if (position >= first && position - first < letters.size()) return letters[position - first];
    }
    return std::nullopt;
}

KeysDown::KeysDown(Connection& connection) {
    const auto reply =
        xcb::await<xcb_query_keymap_reply>(connection.xcb(), xcb_query_keymap(connection.xcb()));
    if (reply) std::copy(std::begin(reply->keys), std::end(reply->keys), bits.begin());
}

ModifierMap::ModifierMap(Connection& connection) {
    auto* const xcb = connection.xcb();
    const auto* const setup = xcb_get_setup(xcb);
    const auto modifiersAsked = xcb_get_modifier_mapping(xcb);
    const auto symbolsAsked = xcb_get_keyboard_mapping(
        xcb, setup->min_keycode, static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1));
    const auto modifiers = xcb::await<xcb_get_modifier_mapping_reply>(xcb, modifiersAsked);
    const auto symbols = xcb::await<xcb_get_keyboard_mapping_reply>(xcb, symbolsAsked);
    if (!modifiers || !symbols) return;

    const std::span<const xcb_keysym_t> allSymbols(
        xcb_get_keyboard_mapping_keysyms(symbols.get()),
        static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(symbols.get())));
    const std::size_t symbolsAKey = symbols->keysyms_per_keycode;
    const auto symbolsOf = [&](xcb_keycode_t code) {
        const auto begin = (code - std::size_t{setup->min_keycode}) * symbolsAKey;
        return code < setup->min_keycode || begin + symbolsAKey > allSymbols.size()
                   ? std::span<const xcb_keysym_t>()
                   : allSymbols.subspan(begin, symbolsAKey);
    };

    Mask option = 0;
    Mask command = 0;
    Mask locks = XCB_MOD_MASK_LOCK;
    const auto* const codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
    for (std::size_t modifier = 0; modifier < modifierCount; ++modifier) {
        const auto bit = static_cast<Mask>(1U << modifier);
        for (std::size_t at = 0; at < modifiers->keycodes_per_modifier; ++at) {
            const auto code = codes[modifier * modifiers->keycodes_per_modifier + at];
            if (code == 0) continue;
            keys[modifier].push_back(code);
            for (const auto symbol : symbolsOf(code)) {
                if (symbol == XKB_KEY_Alt_L || symbol == XKB_KEY_Alt_R) option |= bit;
                if (symbol == XKB_KEY_Super_L || symbol == XKB_KEY_Super_R) command |= bit;
                if (symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock) locks |= bit;
            }
        }
    }
    // Where such keys set several bits, each key sets one of them.
    const auto lowest = [](Mask bits) { return static_cast<Mask>(bits & -bits); };
    if (option) option_ = lowest(option);
    if (command) command_ = lowest(command);
    locks_ = static_cast<Mask>(locks &
                               ~(option_ | command_ | Mask{XCB_MOD_MASK_SHIFT} | Mask{XCB_MOD_MASK_CONTROL}));
}

ModifierMap::Mask ModifierMap::maskOf(const KeyModifiers& held) const {
    const std::pair<bool, Mask> bits[] = {{held.hasShift, Mask{XCB_MOD_MASK_SHIFT}},
                                          {held.hasControl, Mask{XCB_MOD_MASK_CONTROL}},
                                          {held.hasOption, option_},
                                          {held.hasCommand, command_}};
    Mask mask = 0;
    for (const auto& [isHeld, bit] : bits) {
        if (isHeld) mask |= bit;
    }
    return mask;
}

std::vector<xcb_keycode_t> ModifierMap::keysOf(Mask mask) const {
    std::vector<xcb_keycode_t> all;
    for (std::size_t modifier = 0; modifier < modifierCount; ++modifier) {
        if (mask >> modifier & 1U) all.insert(all.end(), keys[modifier].begin(), keys[modifier].end());
    }
    return all;
}

}  // namespace vellumix::x11
