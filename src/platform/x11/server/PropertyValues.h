#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/coding/URL.h"

/// What the bytes of selection properties mean. Pure functions, for any bytes whatever; any thread.
namespace vellumix::x11 {

/// The atoms of a TARGETS value (ICCCM 2.0 section 2.6.2) in their order, each once, without None. Bytes
/// after the last whole atom don't count.
std::vector<std::uint32_t> atomsOf(ByteView value);

/// The files of a text/uri-list (RFC 2483 section 5): file URLs (RFC 8089) whose host is empty, "localhost"
/// or `hostName`. Comments, other URLs and malformed lines are passed over.
std::vector<URL> filesOfURIList(ByteView value, std::string_view hostName);

struct CopiedFiles {
    std::vector<URL> files;
    /// They are to be moved where they are pasted.
    bool isCut = false;
};
/// The files of an x-special/gnome-copied-files value: "copy" or "cut", then one URL a line, under the same
/// rules.
CopiedFiles filesOfCopiedFiles(ByteView value, std::string_view hostName);
/// Whether an application/x-kde-cutselection says that the files beside it were cut.
bool isCutSelection(ByteView value);

/// Valid UTF-8 from bytes meant as UTF-8: NULs at the end are cut, ill-formed sequences replaced.
std::string textOfUTF8(ByteView value);
/// UTF-8 from ISO 8859-1, the encoding of the type STRING (ICCCM 2.0 section 2.7.1); NULs at the end are cut.
std::string textOfLatin1(ByteView value);
/// ISO 8859-1 from valid UTF-8; a character that it doesn't have becomes a question mark.
std::string latin1Of(std::string_view text);

/// What an x-kde-passwordManagerHint says: "secret", with blanks round it and in whatever case, or another
/// word. What isn't printable ASCII, and nothing at all, is no word.
enum class PasswordHint { secret, otherWord, unreadable };
PasswordHint passwordHintOf(ByteView value);

/// Whether the text is an SVG document (Scalable Vector Graphics 2 section 5.1.1): its root element is "svg",
/// behind nothing but what XML 1.0 (section 2.8) allows before one.
bool isSVGDocument(std::string_view text);

}  // namespace vellumix::x11
