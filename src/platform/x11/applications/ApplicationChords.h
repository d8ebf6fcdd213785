#pragma once

#include <xkbcommon/xkbcommon.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/desktop/Event.h"

namespace vellumix::x11 {

/// Keys by which an application does something.
struct ApplicationChord {
    KeyModifiers modifiers;
    xkb_keysym_t key = XKB_KEY_NoSymbol;
    /// The application takes what it pastes from the selection PRIMARY.
    bool readsPrimary = false;

    friend bool operator==(const ApplicationChord&, const ApplicationChord&) = default;
};

/// Which keys paste, copy and move to the trash in which application. Immutable.
///
/// A table is lines of "names = chords". A name is a desktop-file id or a window class in upper or lower
/// case, or "*" for all others; names are parted by ",". A chord is a key's name of the X Window System
/// behind Ctrl, Shift, Alt and Super, parted by "+", with "primary" behind it where the application reads
/// that selection. Chords are parted by "|": the first counts whose key the keyboard has. "none" says that
/// there are no such keys, and "as others" takes back what a line before said of the names. These are the
/// chords that paste; behind a ";" stand others with "copy" or "trash" before them, and where they stand
/// alone, nothing is said of pasting. What follows "#" is a comment.
class ApplicationChords {
public:
    enum class Meaning { paste, copy, trash };

    /// The program's own table, under the lines of another one.
    explicit ApplicationChords(std::string_view table = {});
    /// With the table in a file. Lines that can't be read are counted in the log; a missing file is an empty
    /// one.
    static ApplicationChords fromFile(const std::string& path);

    /// For an application that is known by any of these names, the first known one first. The best chord
    /// comes first; empty for an application that has no keys for it.
    const std::vector<ApplicationChord>& chordsFor(Meaning meaning,
                                                   const std::vector<std::string>& names) const;
    /// Whether a line says by its name how, or that not, the application moves something to the trash. So the
    /// list of the file managers and that of their keys are one, and can't differ.
    bool isFileManager(const std::vector<std::string>& names) const;

private:
    using Chords = std::vector<ApplicationChord>;

    int add(std::string_view table);
    const Chords* find(Meaning meaning, const std::vector<std::string>& names) const;

    std::map<std::pair<Meaning, std::string>, Chords> chords;
};

}  // namespace vellumix::x11
