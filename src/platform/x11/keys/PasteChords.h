#pragma once

#include <xkbcommon/xkbcommon.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vellumix::x11 {

/// The keys by which an application pastes.
struct PasteChord {
    bool hasControl = false;
    bool hasShift = false;
    bool hasOption = false;
    bool hasCommand = false;
    xkb_keysym_t key = XKB_KEY_NoSymbol;
    /// The application takes what it pastes from the selection PRIMARY.
    bool readsPrimary = false;

    friend bool operator==(const PasteChord&, const PasteChord&) = default;
};

/// Which keys paste in which application. Immutable.
///
/// A table is lines of "names = chords". A name is a desktop-file id or a window class in upper or lower
/// case, or "*" for all others; names are parted by ",". A chord is a key's name of the X Window System
/// behind Ctrl, Shift, Alt and Super, parted by "+", with "primary" behind it where the application reads
/// that selection. Chords are parted by "|": the first counts whose key the keyboard has. "none" says that
/// there are no such keys. What follows "#" is a comment.
class PasteChords {
public:
    /// The program's own table, under the lines of another one.
    explicit PasteChords(std::string_view table = {});
    /// With the table in a file. Lines that can't be read are counted in the log; a missing file is an empty
    /// one.
    static PasteChords fromFile(const std::string& path);

    /// For an application that is known by any of these names, the first known one first. The best chord
    /// comes first; empty for an application that no keys paste into.
    const std::vector<PasteChord>& chordsFor(const std::vector<std::string>& names) const;

private:
    int add(std::string_view table);

    std::map<std::string, std::vector<PasteChord>> chords;
};

}  // namespace vellumix::x11
