#include "platform/x11/PasteChords.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include "platform/foundation/Log.h"
#include "platform/foundation/Unicode.h"

namespace vellumix::x11 {

namespace {

constexpr auto ownTable = R"(
* = Ctrl+V

# terminals, where Ctrl+V belongs to the program inside
alacritty = Ctrl+Shift+V
blackbox = Ctrl+Shift+V
com.gexperts.Tilix = Ctrl+Shift+V
com.mitchellh.ghostty = Ctrl+Shift+V
com.raggesilver.BlackBox = Ctrl+Shift+V
contour = Ctrl+Shift+V
cool-retro-term = Ctrl+Shift+V
deepin-terminal = Ctrl+Shift+V
gnome-terminal = Ctrl+Shift+V
gnome-terminal-server = Ctrl+Shift+V
guake = Ctrl+Shift+V
hyper = Ctrl+Shift+V
io.elementary.terminal = Ctrl+Shift+V
kgx = Ctrl+Shift+V
kitty = Ctrl+Shift+V
konsole = Ctrl+Shift+V
lxterminal = Ctrl+Shift+V
mate-terminal = Ctrl+Shift+V
org.gnome.Console = Ctrl+Shift+V
org.gnome.Ptyxis = Ctrl+Shift+V
org.gnome.Terminal = Ctrl+Shift+V
org.kde.konsole = Ctrl+Shift+V
org.kde.yakuake = Ctrl+Shift+V
org.wezfurlong.wezterm = Ctrl+Shift+V
ptyxis = Ctrl+Shift+V
qterminal = Ctrl+Shift+V
roxterm = Ctrl+Shift+V
sakura = Ctrl+Shift+V
st-256color = Ctrl+Shift+V
terminator = Ctrl+Shift+V
terminology = Ctrl+Shift+V
tilda = Ctrl+Shift+V
tilix = Ctrl+Shift+V
xfce4-terminal = Ctrl+Shift+V
yakuake = Ctrl+Shift+V

# older terminals, which paste what was last selected
aterm = Shift+Insert primary
eterm = Shift+Insert primary
mlterm = Shift+Insert primary
rxvt = Shift+Insert primary
urxvt = Shift+Insert primary
uxterm = Shift+Insert primary
xterm = Shift+Insert primary

# an editor in which Ctrl+V turns the page
emacs = Shift+Insert
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

}  // namespace

PasteChords::PasteChords(std::string_view table) {
    add(ownTable);
    if (const int unreadable = add(table); unreadable > 0) {
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
        const auto name = takePart(line, '=');
        const auto chord = chordOf(trimmed(line));
        if (name.empty() || !chord) {
            ++unreadable;
            continue;
        }
        _chords[lowercased(name)] = *chord;
    }
    return unreadable;
}

const PasteChord& PasteChords::chordFor(const std::vector<std::string>& names) const {
    for (const auto& name : names) {
        const auto found = _chords.find(lowercased(name));
        if (found != _chords.end()) return found->second;
    }
    return _chords.at("*");
}

}  // namespace vellumix::x11
