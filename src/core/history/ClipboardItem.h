#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/cipher/UUID.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/loop/Date.h"
#include "platform/foundation/text/String.h"

namespace vellumix {

/// One entry of the history: what was copied, when, of which kind, and how it is kept. A value; copies are
/// cheap.
///
/// The payload is plain (`_text`, `_imageData`, `_fileURL`) or enciphered (their twins). Everything but the
/// store's own parts reads it through `text`, `imageData` and `fileURL`. `id`, `date` and `kind` never change
/// after construction.
struct ClipboardItem {
    enum class Kind {
        /// A filter's value: no captured entry has it.
        all,
        text,
        image,
        file,
        link,
        code,
    };
    static constexpr std::array allKinds{Kind::all,  Kind::text, Kind::image,
                                         Kind::file, Kind::link, Kind::code};

    UUID id;
    Date date;
    Kind kind = Kind::text;
    bool pinned = false;
    bool locked = false;
    /// For a file, the last component of its path.
    std::optional<String> _text;
    /// PNG for a captured image.
    std::optional<Data> _imageData;
    std::optional<URL> _fileURL;
    std::optional<Data> encryptedText;
    std::optional<Data> encryptedImageData;
    std::optional<Data> encryptedFileURL;
    bool isEncrypted = false;

    /// The text; that of a locked entry is deciphered at each call, at the cost of a keychain read. Nothing
    /// on failure.
    std::optional<String> text() const;
    /// The image; as `text`.
    std::optional<Data> imageData() const;
    /// The file; as `text`, but a failure gives `_fileURL`.
    std::optional<URL> fileURL() const;

    /// Locked, and readable by whoever has the file: the payload could not be enciphered.
    bool isLockedInClear() const { return locked && !isEncrypted; }

    /// Moves the payload into the enciphered fields: all of it, or, when any part fails, none.
    void encryptContent();
    /// Moves the payload back: all of it, or, when any part fails, none.
    void decryptContent();

    /// All twelve fields. A copy taken before the entry last changed is another value.
    friend bool operator==(const ClipboardItem&, const ClipboardItem&) = default;
};

/// The string by which a kind is stored.
std::string_view rawValue(ClipboardItem::Kind kind);
std::optional<ClipboardItem::Kind> kindFromRawValue(std::string_view text);

}  // namespace vellumix
