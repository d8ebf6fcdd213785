#pragma once

#include <cstddef>

/// How much the history may hold beside its number of entries, in bytes. The whole of it is in memory, and
/// each change encodes, enciphers and writes all of it, so that every megabyte kept makes each later copy
/// slower.
namespace vellumix::bounds {

/// The largest content of one entry: text, or a picture as PNG. A photo of 45 megapixels fits; beyond it, a
/// file is what people exchange.
inline constexpr std::size_t entry = std::size_t{128} << 20;

/// The history as it is written to its file, beyond which no further copy is recorded: some 570 MB of
/// pictures. A change of it keeps the main loop for half a second and the disk for a few, which is the most
/// that a person who copies a word can be asked to bear.
inline constexpr std::size_t history = std::size_t{768} << 20;

/// Content up to this size is recorded however full the history is: two hundred of them add a few megabytes,
/// and nobody expects that a word is refused because of many pictures.
inline constexpr std::size_t alwaysRecorded = std::size_t{64} << 10;

/// The largest history file that is read. What the program writes stays below `history` and what is recorded
/// always, but locking puts Base64 of the ciphertext in place of the text, which is a third more.
inline constexpr std::size_t historyFile = 2 * history;

}  // namespace vellumix::bounds
