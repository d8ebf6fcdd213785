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
/// A table is lines of "name = chord": the name a desktop-file id or a window class in upper or lower case,
/// or "*" for all others; the chord key names of the X Window System behind Ctrl, Shift, Alt and Super,
/// parted by "+", and "primary" behind it where the application reads that selection. What follows "#" is a
/// comment.
class PasteChords {
public:
    /// The program's own table, under the lines of another one.
    explicit PasteChords(std::string_view table = {});
    /// With the table in a file. Lines that can't be read are counted in the log; a missing file is an empty
    /// one.
    static PasteChords fromFile(const std::string& path);

    /// For an application that is known by any of these names, the first known one first.
    const PasteChord& chordFor(const std::vector<std::string>& names) const;

private:
    int add(std::string_view table);

    std::map<std::string, PasteChord> _chords;
};

}  // namespace vellumix::x11
