#include "platform/x11/keys/Keyboard.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <array>
#include <cstdlib>

#include "platform/x11/keys/KeyCodes.h"

namespace vellumix::x11 {

namespace {

constexpr std::uint32_t realModifiers = 0xFF;
constexpr int groupShift = 13;
constexpr std::uint32_t groupMask = 3;

struct NamedKey {
    xkb_keysym_t symbol;
    Key key;
};

constexpr NamedKey namedKeys[] = {
    {XKB_KEY_Return, Key::enter},
    {XKB_KEY_KP_Enter, Key::enter},
    {XKB_KEY_ISO_Enter, Key::enter},
    {XKB_KEY_Escape, Key::escape},
    {XKB_KEY_Tab, Key::tab},
    {XKB_KEY_ISO_Left_Tab, Key::tab},
    {XKB_KEY_KP_Tab, Key::tab},
    {XKB_KEY_space, Key::space},
    {XKB_KEY_KP_Space, Key::space},
    {XKB_KEY_BackSpace, Key::backspace},
    {XKB_KEY_Delete, Key::deleteForward},
    {XKB_KEY_KP_Delete, Key::deleteForward},
    {XKB_KEY_Left, Key::left},
    {XKB_KEY_KP_Left, Key::left},
    {XKB_KEY_Right, Key::right},
    {XKB_KEY_KP_Right, Key::right},
    {XKB_KEY_Up, Key::up},
    {XKB_KEY_KP_Up, Key::up},
    {XKB_KEY_Down, Key::down},
    {XKB_KEY_KP_Down, Key::down},
    {XKB_KEY_Home, Key::home},
    {XKB_KEY_KP_Home, Key::home},
    {XKB_KEY_End, Key::end},
    {XKB_KEY_KP_End, Key::end},
    {XKB_KEY_Prior, Key::pageUp},
    {XKB_KEY_KP_Prior, Key::pageUp},
    {XKB_KEY_Next, Key::pageDown},
    {XKB_KEY_KP_Next, Key::pageDown},
};

Key keyOf(xkb_keysym_t symbol) {
    for (const auto& named : namedKeys) {
        if (named.symbol == symbol) return named.key;
    }
    return Key::character;
}

bool isModifier(xkb_keysym_t symbol) {
    return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
           (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Level5_Lock) ||
           symbol == XKB_KEY_Mode_switch || symbol == XKB_KEY_Num_Lock;
}

bool beginsComposing(xkb_keysym_t symbol) {
    return symbol == XKB_KEY_Multi_key ||
           (symbol >= XKB_KEY_dead_grave && symbol <= XKB_KEY_dead_longsolidusoverlay);
}

std::string utf8Of(xkb_keysym_t symbol) {
    std::array<char, 8> text{};
    const int bytes = xkb_keysym_to_utf8(symbol, text.data(), text.size());
    return bytes > 1 ? std::string(text.data()) : std::string();
}

/// Without what only controls a terminal.
std::string typedText(std::string text) {
    const auto first = text.empty() ? 0U : static_cast<unsigned char>(text.front());
    return first < ' ' || first == 0x7F ? std::string() : std::move(text);
}

const char* localeOfTyping() {
    for (const auto* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value) return value;
    }
    return "C";
}

}  // namespace

Keyboard::Keyboard(Connection& connection, KeyboardMap& map) : connection(connection), map(map) {
    followKeymap();
}

void Keyboard::followKeymap() {
    auto keymap = map.keymap();
    if (keymap == this->keymap) return;
    this->keymap = std::move(keymap);
    state.reset(xkb_state_new(this->keymap.get()));
    const auto layouts = xkb_keymap_num_layouts(this->keymap.get());
    namingLayouts.clear();
    for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
        auto naming = layout;
        if (!isLatin(layout)) {
            for (naming = 0; naming < layouts && !isLatin(naming);) ++naming;
        }
        namingLayouts.push_back(naming < layouts ? std::optional(naming) : std::nullopt);
    }
}

bool Keyboard::isLatin(xkb_layout_index_t layout) const {
    const auto last = xkb_keymap_max_keycode(keymap.get());
    for (auto code = xkb_keymap_min_keycode(keymap.get()); code <= last; ++code) {
        const xkb_keysym_t* symbols = nullptr;
        if (xkb_keymap_key_get_syms_by_level(keymap.get(), code, layout, 0, &symbols) == 1 &&
            *symbols == XKB_KEY_a) {
            return true;
        }
    }
    return false;
}

std::string Keyboard::characterOf(xkb_keycode_t code) const {
    const auto layout = xkb_state_key_get_layout(state.get(), code);
    if (layout >= namingLayouts.size()) return {};
    const auto naming = namingLayouts[layout];
    if (!naming) {
        if (const auto letter = letterAt(positionOf(static_cast<xcb_keycode_t>(code)))) return {*letter};
    }
    const xkb_keysym_t* symbols = nullptr;
    const auto count =
        xkb_keymap_key_get_syms_by_level(keymap.get(), code, naming.value_or(layout), 0, &symbols);
    return count == 1 ? typedText(utf8Of(xkb_keysym_to_lower(*symbols))) : std::string();
}

std::optional<std::string> Keyboard::composed(xkb_keysym_t symbol, std::string typed) {
    if (!compose && beginsComposing(symbol)) {
        composeTable.reset(
            xkb_compose_table_new_from_locale(map.context(), localeOfTyping(), XKB_COMPOSE_COMPILE_NO_FLAGS));
        if (!composeTable) {
            composeTable.reset(
                xkb_compose_table_new_from_locale(map.context(), "C", XKB_COMPOSE_COMPILE_NO_FLAGS));
        }
        if (composeTable) {
            compose.reset(xkb_compose_state_new(composeTable.get(), XKB_COMPOSE_STATE_NO_FLAGS));
        }
    }
    if (!compose) return typed;
    xkb_compose_state_feed(compose.get(), symbol);
    switch (xkb_compose_state_get_status(compose.get())) {
        case XKB_COMPOSE_COMPOSING:
            return std::nullopt;
        case XKB_COMPOSE_COMPOSED: {
            std::array<char, 64> text{};
            xkb_compose_state_get_utf8(compose.get(), text.data(), text.size());
            xkb_compose_state_reset(compose.get());
            return std::string(text.data());
        }
        case XKB_COMPOSE_CANCELLED:
            // Nothing composes from these keys: neither of them types.
            xkb_compose_state_reset(compose.get());
            return std::nullopt;
        case XKB_COMPOSE_NOTHING:
            break;
    }
    return typed;
}

std::optional<KeyEvent> Keyboard::pressed(const xcb_key_press_event_t& event) {
    followKeymap();
    if (!state) return std::nullopt;
    const xkb_keycode_t code = event.detail;
    // The state in the event is that of this very key, where a notice of the state may be late.
    xkb_state_update_mask(state.get(), event.state & realModifiers, 0, 0, 0, 0,
                          (std::uint32_t{event.state} >> groupShift) & groupMask);
    const auto symbol = xkb_state_key_get_one_sym(state.get(), code);
    if (isModifier(symbol)) return std::nullopt;

    KeyEvent key;
    key.key = keyOf(symbol);
    key.modifiers = modifiersOf(event.state);
    key.isRepeat = down.test(code);
    key.position = positionOf(event.detail);
    down.set(code);
    if (!key.modifiers.hasControl && !key.modifiers.hasCommand) {
        auto text = composed(symbol, typedText(utf8Of(symbol)));
        if (!text) return std::nullopt;
        // What an accent and the space bar compose is typed, and not a press of the space bar.
        if (key.key == Key::space && *text != " ") key.key = Key::character;
        key.text = std::move(*text);
    }
    key.character = characterOf(code);
    return key;
}

void Keyboard::released(const xcb_key_release_event_t& event) { down.reset(event.detail); }

void Keyboard::reset() {
    // Keys that are held already, as those of the hotkey that opened a window, repeat and are not pressed.
    const KeysDown down(connection);
    for (std::size_t code = 0; code < this->down.size(); ++code) {
        this->down.set(code, down.test(static_cast<xcb_keycode_t>(code)));
    }
    if (compose) xkb_compose_state_reset(compose.get());
}

KeyModifiers Keyboard::modifiersOf(std::uint32_t state) {
    return {.hasShift = (state & XCB_MOD_MASK_SHIFT) != 0,
            .hasControl = (state & XCB_MOD_MASK_CONTROL) != 0,
            .hasOption = (state & XCB_MOD_MASK_1) != 0,
            .hasCommand = (state & XCB_MOD_MASK_4) != 0};
}

}  // namespace vellumix::x11
