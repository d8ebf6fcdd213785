#pragma once

#include <string>
#include <string_view>

namespace vellumix {

class AppDelegate;

/// What the program says about itself: one JSON object with "entries" (kind to count), "pinned", "locked",
/// "lockedInClear" (how many of the locked are not enciphered), "file", "saveFailed" (whether that file is
/// behind the list), "keychain", "panel" ("visible" or "hidden"), "hotkey" ("active", or "refused" when
/// another program has it), "cut" ("on", "off", or "refused" when files can't be cut for want of the
/// combination), "lastCapture" ({"date", "kind"} or null), "lastRefusal" ({"date", "reason"} or null),
/// "sync" ({"state", "text", "lastFetch"}: the name of a state, why where it is "error", and the date of the
/// last good fetch or null) and "updates" ("configured" or "not configured"). Dates are ISO 8601 in UTC.
/// Never content. What it says is the same in every language, but for the text of an error, which is the
/// user's.
std::string statusReport(AppDelegate& application);

/// The same in lines for a person, in the user's language; empty when the text is no such object.
std::string readableStatus(std::string_view json);

}  // namespace vellumix
