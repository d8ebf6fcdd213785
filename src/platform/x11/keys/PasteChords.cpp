#include "platform/x11/keys/PasteChords.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include "platform/foundation/loop/Log.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix::x11 {

namespace {

// What was tried is told in docs/keys-on-x11.md.
constexpr auto ownTable = R"(
# What Shift+Insert pastes is the clipboard nearly everywhere, and it takes no letter.
* = Ctrl+V | Shift+Insert

# Terminals, where Ctrl+V belongs to the program inside. Their Shift+Insert pastes what was last selected.
alacritty, blackbox, com.gexperts.Tilix, com.mitchellh.ghostty, com.raggesilver.BlackBox = Ctrl+Shift+V | Shift+Insert primary
contour, cool-retro-term, deepin-terminal, gnome-terminal, gnome-terminal-server, guake = Ctrl+Shift+V | Shift+Insert primary
hyper, io.elementary.terminal, kgx, kitty, konsole, lxterminal, mate-terminal = Ctrl+Shift+V | Shift+Insert primary
org.gnome.Console, org.gnome.Ptyxis, org.gnome.Terminal, org.kde.konsole, org.kde.yakuake = Ctrl+Shift+V | Shift+Insert primary
org.wezfurlong.wezterm, ptyxis, qterminal, roxterm, sakura, st-256color, terminator = Ctrl+Shift+V | Shift+Insert primary
terminology, tilda, tilix, xfce4-terminal, yakuake, zutty = Ctrl+Shift+V | Shift+Insert primary

# Older terminals, and those that take their keys over.
aterm, eterm, mlterm, pterm, rxvt, termit, urxvt, uxterm, xterm = Shift+Insert primary

# Editors that use Ctrl+V for something else.
emacs, emacs-gtk, emacs-lucid = Ctrl+Y | Shift+Insert
gvim, xedit = Shift+Insert primary
# Its Neovim knows no key that pastes in each of its modes.
nvim-qt = none
)";

/// More than any table needs, and little enough to be read at the start.
constexpr std::size_t bytesRead = 64 * 1024;

std::string_view trimmed(std::string_view text) { return trimmedOfWhitespaceAndNewlines(text); }

/// Takes what is before the separator away from the text; all of it where there is none.
std::string_view takePart(std::string_view& text, char separator) {
    const auto end = std::min(text.find(separator), text.size());
    const auto part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return trimmed(part);
}

std::optional<PasteChord> chordOf(std::string_view text) {
    constexpr std::string_view primaryMark = " primary";
    PasteChord chord;
    if (text.ends_with(primaryMark)) {
        chord.readsPrimary = true;
        text = trimmed(text.substr(0, text.size() - primaryMark.size()));
    }
    constexpr std::pair<std::string_view, bool PasteChord::*> modifiers[] = {
        {"ctrl", &PasteChord::hasControl},
        {"shift", &PasteChord::hasShift},
        {"alt", &PasteChord::hasOption},
        {"super", &PasteChord::hasCommand},
    };
    while (text.find('+') != std::string_view::npos) {
        const auto name = lowercased(takePart(text, '+'));
        const auto* const known =
            std::ranges::find(modifiers, name, &std::pair<std::string_view, bool PasteChord::*>::first);
        if (known == std::end(modifiers)) return std::nullopt;
        chord.*known->second = true;
    }
    // Of two keys that differ in case alone, this finds the one without Shift.
    chord.key = xkb_keysym_from_name(std::string(trimmed(text)).c_str(), XKB_KEYSYM_CASE_INSENSITIVE);
    return chord.key == XKB_KEY_NoSymbol ? std::nullopt : std::optional(chord);
}

std::optional<std::vector<PasteChord>> chordsOf(std::string_view text) {
    std::vector<PasteChord> chords;
    if (text == "none") return chords;
    while (!text.empty()) {
        const auto chord = chordOf(takePart(text, '|'));
        if (!chord) return std::nullopt;
        chords.push_back(*chord);
    }
    return chords.empty() ? std::nullopt : std::optional(std::move(chords));
}

}  // namespace

PasteChords::PasteChords(std::string_view table) {
    if (const int unreadable = add(ownTable) + add(table); unreadable > 0) {
        Log("PasteChords").error("Lines that can't be read: " + std::to_string(unreadable));
    }
}

PasteChords PasteChords::fromFile(const std::string& path) {
    std::string text(bytesRead, '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    return PasteChords(text);
}

int PasteChords::add(std::string_view table) {
    int unreadable = 0;
    while (!table.empty()) {
        auto line = takePart(table, '\n');
        line = takePart(line, '#');
        if (line.empty()) continue;
        auto names = takePart(line, '=');
        const auto chords = chordsOf(trimmed(line));
        if (names.empty() || !chords) {
            ++unreadable;
            continue;
        }
        while (!names.empty()) this->chords[lowercased(takePart(names, ','))] = *chords;
    }
    return unreadable;
}

const std::vector<PasteChord>& PasteChords::chordsFor(const std::vector<std::string>& names) const {
    for (const auto& name : names) {
        const auto found = chords.find(lowercased(name));
        if (found != chords.end()) return found->second;
    }
    return chords.at("*");
}

}  // namespace vellumix::x11
