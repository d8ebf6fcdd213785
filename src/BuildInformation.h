#pragma once

#include "platform/foundation/coding/PropertyList.h"

namespace vellumix {

/// What this build says of itself, for the main bundle. What it was given no value for is absent.
///
/// "CFBundleShortVersionString" is its version and "CFBundleVersion" its number, which grows with each
/// version; "VLXServiceURL" the address of the service that is told of a launch; "SUFeedURL" and
/// "SUPublicEDKey" where updates are announced, and the Ed25519 key (RFC 8032) that they are signed with, as
/// Base64 of its 32 bytes.
PropertyDictionary buildInformation();

}  // namespace vellumix
