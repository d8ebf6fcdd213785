#include "platform/x11/applications/ApplicationChords.h"

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
* = Ctrl+V | Shift+Insert; copy Ctrl+C | Ctrl+Insert; trash none

# Terminals, where Ctrl+V belongs to the program inside. Their Shift+Insert pastes what was last selected.
alacritty, blackbox, com.gexperts.Tilix, com.mitchellh.ghostty, com.raggesilver.BlackBox = Ctrl+Shift+V | Shift+Insert primary; copy Ctrl+Shift+C
contour, cool-retro-term, deepin-terminal, gnome-terminal, gnome-terminal-server, guake = Ctrl+Shift+V | Shift+Insert primary; copy Ctrl+Shift+C
hyper, io.elementary.terminal, kgx, kitty, konsole, lxterminal, mate-terminal = Ctrl+Shift+V | Shift+Insert primary; copy Ctrl+Shift+C
org.gnome.Console, org.gnome.Ptyxis, org.gnome.Terminal, org.kde.konsole, org.kde.yakuake = Ctrl+Shift+V | Shift+Insert primary; copy Ctrl+Shift+C
org.wezfurlong.wezterm, ptyxis, qterminal, roxterm, sakura, st-256color, terminator = Ctrl+Shift+V | Shift+Insert primary; copy Ctrl+Shift+C
terminology, tilda, tilix, xfce4-terminal, yakuake, zutty = Ctrl+Shift+V | Shift+Insert primary; copy Ctrl+Shift+C

# Older terminals, and those that take their keys over. They copy what is selected.
aterm, eterm, mlterm, pterm, rxvt, termit, urxvt, uxterm, xterm = Shift+Insert primary; copy none

# Editors that use Ctrl+V for something else.
emacs, emacs-gtk, emacs-lucid = Ctrl+Y | Shift+Insert; copy Alt+W
gvim, xedit = Shift+Insert primary; copy none
# Its Neovim knows no key that pastes in each of its modes.
nvim-qt = none; copy none

# File managers, by their desktop files and window classes.
nautilus, org.gnome.Nautilus, nemo, nemo-desktop, caja, thunar, pcmanfm, pcmanfm-qt, dolphin = copy Ctrl+C; trash Delete
caja-browser, caja-file-manager, krusader, org.kde.dolphin, org.kde.krusader = copy Ctrl+C; trash Delete
# Its Delete removes for good, and it has no trash of its own: files are copied and stay.
spacefm = copy Ctrl+C; trash none
)";

/// More than any table needs, and little enough to be read at the start.
constexpr std::size_t bytesRead = 64 * 1024;
const std::string everybody = "*";

std::string_view trimmed(std::string_view text) { return trimmedOfWhitespaceAndNewlines(text); }

/// Takes what is before the separator away from the text; all of it where there is none.
std::string_view takePart(std::string_view& text, char separator) {
    const auto end = std::min(text.find(separator), text.size());
    const auto part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return trimmed(part);
}

std::optional<ApplicationChord> chordOf(std::string_view text) {
    constexpr std::string_view primaryMark = " primary";
    ApplicationChord chord;
    if (text.ends_with(primaryMark)) {
        chord.readsPrimary = true;
        text = trimmed(text.substr(0, text.size() - primaryMark.size()));
    }
    constexpr std::pair<std::string_view, bool KeyModifiers::*> modifiers[] = {
        {"ctrl", &KeyModifiers::hasControl},
        {"shift", &KeyModifiers::hasShift},
        {"alt", &KeyModifiers::hasOption},
        {"super", &KeyModifiers::hasCommand},
    };
    while (text.find('+') != std::string_view::npos) {
        const auto name = lowercased(takePart(text, '+'));
        const auto* const known =
            std::ranges::find(modifiers, name, &std::pair<std::string_view, bool KeyModifiers::*>::first);
        if (known == std::end(modifiers)) return std::nullopt;
        chord.modifiers.*known->second = true;
    }
    // Of two keys that differ in case alone, this finds the one without Shift.
    chord.key = xkb_keysym_from_name(std::string(trimmed(text)).c_str(), XKB_KEYSYM_CASE_INSENSITIVE);
    return chord.key == XKB_KEY_NoSymbol ? std::nullopt : std::optional(chord);
}

using Meaning = ApplicationChords::Meaning;
using Chords = std::vector<ApplicationChord>;

/// The word before the chords is taken away.
Meaning takeMeaning(std::string_view& text) {
    constexpr std::pair<std::string_view, Meaning> words[] = {{"copy ", Meaning::copy},
                                                              {"trash ", Meaning::trash}};
    for (const auto& [word, meaning] : words) {
        if (!text.starts_with(word)) continue;
        text = trimmed(text.substr(word.size()));
        return meaning;
    }
    return Meaning::paste;
}

std::optional<Chords> chordsOf(std::string_view text) {
    Chords chords;
    if (text == "none") return chords;
    while (!text.empty()) {
        const auto chord = chordOf(takePart(text, '|'));
        if (!chord) return std::nullopt;
        chords.push_back(*chord);
    }
    return chords.empty() ? std::nullopt : std::optional(std::move(chords));
}

/// What a line says of its names; absent for "as others".
using Sayings = std::vector<std::pair<Meaning, std::optional<Chords>>>;

/// Empty where any part can't be read.
Sayings sayingsOf(std::string_view text) {
    Sayings sayings;
    while (!text.empty()) {
        auto part = takePart(text, ';');
        const auto meaning = takeMeaning(part);
        auto chords = chordsOf(part);
        if (!chords && part != "as others") return {};
        sayings.emplace_back(meaning, std::move(chords));
    }
    return sayings;
}

}  // namespace

ApplicationChords::ApplicationChords(std::string_view table) {
    if (const int unreadable = add(ownTable) + add(table); unreadable > 0) {
        Log("ApplicationChords").error("Lines that can't be read: " + std::to_string(unreadable));
    }
}

ApplicationChords ApplicationChords::fromFile(const std::string& path) {
    std::string text(bytesRead, '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    return ApplicationChords(text);
}

int ApplicationChords::add(std::string_view table) {
    int unreadable = 0;
    while (!table.empty()) {
        auto line = takePart(table, '\n');
        line = takePart(line, '#');
        if (line.empty()) continue;
        auto names = takePart(line, '=');
        const auto sayings = sayingsOf(trimmed(line));
        if (names.empty() || sayings.empty()) {
            ++unreadable;
            continue;
        }
        while (!names.empty()) {
            const auto name = lowercased(takePart(names, ','));
            for (const auto& [meaning, chords] : sayings) {
                if (chords) {
                    this->chords[{meaning, name}] = *chords;
                } else if (name != everybody) {
                    this->chords.erase({meaning, name});
                }
            }
        }
    }
    return unreadable;
}

const Chords* ApplicationChords::find(Meaning meaning, const std::vector<std::string>& names) const {
    for (const auto& name : names) {
        const auto found = chords.find({meaning, lowercased(name)});
        if (found != chords.end()) return &found->second;
    }
    return nullptr;
}

const Chords& ApplicationChords::chordsFor(Meaning meaning, const std::vector<std::string>& names) const {
    const auto* const found = find(meaning, names);
    return found ? *found : chords.at({meaning, everybody});
}

bool ApplicationChords::isFileManager(const std::vector<std::string>& names) const {
    return find(Meaning::trash, names) != nullptr;
}

}  // namespace vellumix::x11
