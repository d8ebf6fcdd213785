#include "core/history/ClipboardItem.h"

#include <algorithm>

#include "core/history/EncryptionManager.h"

namespace vellumix {

namespace {

constexpr std::array<std::string_view, ClipboardItem::allKinds.size()> rawKinds{"all",  "text", "image",
                                                                                "file", "link", "code"};

std::optional<String> decipheredText(const Data& blob) {
    return EncryptionManager::shared().decryptText(blob);
}

std::optional<URL> decipheredURL(const Data& blob) {
    const auto text = decipheredText(blob);
    return text ? URL::parse(*text) : std::nullopt;
}

std::optional<Data> decipheredData(const Data& blob) {
    auto bytes = EncryptionManager::shared().decrypt(blob);
    return bytes ? std::optional(Data(std::move(*bytes))) : std::nullopt;
}

/// Converts `from` if it holds a value; false when that fails.
template <class From, class To, class Conversion>
bool convert(const std::optional<From>& from, std::optional<To>& to, Conversion conversion) {
    if (!from) return true;
    to = conversion(*from);
    return to.has_value();
}

}  // namespace

std::string_view rawValue(ClipboardItem::Kind kind) { return rawKinds[static_cast<std::size_t>(kind)]; }

std::optional<ClipboardItem::Kind> kindFromRawValue(std::string_view text) {
    const auto found = std::ranges::find(rawKinds, text);
    if (found == rawKinds.end()) return std::nullopt;
    return ClipboardItem::allKinds[static_cast<std::size_t>(found - rawKinds.begin())];
}

std::optional<String> ClipboardItem::text() const {
    return locked && isEncrypted && encryptedText ? decipheredText(*encryptedText) : _text;
}

std::optional<Data> ClipboardItem::imageData() const {
    return locked && isEncrypted && encryptedImageData ? decipheredData(*encryptedImageData) : _imageData;
}

std::optional<URL> ClipboardItem::fileURL() const {
    if (locked && isEncrypted && encryptedFileURL) {
        if (auto url = decipheredURL(*encryptedFileURL)) return url;
    }
    return _fileURL;
}

void ClipboardItem::encryptContent() {
    if (isEncrypted) return;
    // Built aside and committed whole: an entry with one payload enciphered and the other plain could be read
    // by neither road.
    const auto encipher = [](ByteView bytes) { return EncryptionManager::shared().encrypt(bytes); };
    std::optional<Data> text;
    std::optional<Data> image;
    std::optional<Data> url;
    const bool isDone =
        convert(_text, text, [&](const String& plain) { return encipher(viewOf(plain)); }) &&
        convert(_imageData, image, [&](const Data& plain) { return encipher(plain); }) &&
        convert(_fileURL, url, [&](const URL& plain) { return encipher(viewOf(plain.absoluteString())); });
    if (!isDone) return;
    if (text) encryptedText = std::move(text);
    if (image) encryptedImageData = std::move(image);
    if (url) encryptedFileURL = std::move(url);
    _text.reset();
    _imageData.reset();
    _fileURL.reset();
    isEncrypted = true;
}

void ClipboardItem::decryptContent() {
    if (!isEncrypted) return;
    std::optional<String> text;
    std::optional<Data> image;
    std::optional<URL> url;
    if (!convert(encryptedText, text, decipheredText) ||
        !convert(encryptedImageData, image, decipheredData) ||
        !convert(encryptedFileURL, url, decipheredURL)) {
        return;
    }
    if (text) _text = std::move(text);
    if (image) _imageData = std::move(image);
    if (url) _fileURL = std::move(url);
    encryptedText.reset();
    encryptedImageData.reset();
    encryptedFileURL.reset();
    isEncrypted = false;
}

}  // namespace vellumix
