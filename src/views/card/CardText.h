#pragma once

#include <optional>

#include "platform/foundation/text/String.h"
#include "platform/view/values/View.h"

namespace vellumix {

/// The beginning of a text, cut between two characters: more than the two lines of a collapsed card hold.
String headOf(const String& text);
/// What a card says of a text that begins with nothing to be seen, such as U+200B: that, and with which
/// characters. Nothing where the head has a visible one, and for an empty text.
std::optional<String> invisibleTextLine(const String& text);
/// All of a text. A long one is set in pieces, those alone that are in sight, so that it costs what is seen
/// of it: a piece ends with a line where it can, else with a word. For a `ScrollArea`.
view::View wholeText(const String& text);

}  // namespace vellumix
