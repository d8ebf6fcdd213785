#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/desktop/CloudKit.h"

namespace vellumix::linux_desktop {

/// An attachment of a document's winning revision.
struct CouchAttachment {
    std::string revision;
    /// In bytes.
    std::uint64_t size = 0;
};

/// One row of the feed of changes.
struct CouchChange {
    /// The members of a document that are kept; one with more is no record of anybody's.
    static constexpr std::size_t mostValues = 64;

    /// The document's; never empty.
    std::string identifier;
    /// From where the feed goes on behind this row, as JSON; empty where the server doesn't say.
    std::string sequence;
    bool isDeleted = false;
    /// Nothing for a deletion, and where the server had no document to show. Without what starts with an
    /// underscore, which is the server's.
    std::optional<CKRecord> record;
    std::optional<CouchAttachment> picture;

    /// A document that holds programs of the database's own ("_design/...").
    bool isDesign() const { return identifier.starts_with("_design/"); }

    /// The name of the attachment that becomes a value.
    static constexpr std::string_view pictureName = "imageData";
    /// The member whose text is a moment (RFC 3339).
    static constexpr std::string_view momentName = "createdAt";

    /// Nothing for a row that can't be read.
    static std::optional<CouchChange> read(ByteView row);
};

}  // namespace vellumix::linux_desktop
