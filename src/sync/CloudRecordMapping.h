#pragma once

#include <optional>

#include "core/history/ClipboardItem.h"
#include "platform/desktop/CloudKit.h"

namespace vellumix {

/// The entry that a record of the cloud describes; nothing where its name is no UUID or its "kind" or
/// "createdAt" are missing. A kind isn't compared with the content, and what a record holds is plain, also
/// under "locked". Reads the asset of the image, blocking; one that can't be read costs the image alone.
std::optional<ClipboardItem> itemFromRecord(const CKRecord& record);

}  // namespace vellumix
