#include <algorithm>
#include <array>

#include "core/EncryptionManager.h"
#include "core/HistoryCoding.h"
#include "core/Store.h"
#include "platform/foundation/Log.h"

namespace vellumix {

namespace {

constexpr Log log("Store");
constexpr std::array<std::uint8_t, 4> magic{'V', 'L', 'X', '1'};
static_assert(Store::sealRoom == magic.size() + aesgcm::nonceSize);

bool hasMagic(ByteView content) {
    return content.size() >= magic.size() && sameBytes(content.first(magic.size()), magic);
}

}  // namespace

void Store::load() {
    auto content = _file->read();
    if (content.empty()) return;
    ByteView payload = content;
    if (hasMagic(content)) {
        const auto plaintext =
            EncryptionManager::shared().decryptInPlace(std::span(content).subspan(magic.size()));
        if (!plaintext) {
            log.error("Failed to decrypt history — file corrupt or key unavailable");
            return _file->markUnreadable();
        }
        payload = *plaintext;
    }
    std::vector<ClipboardItem> items;
    if (const auto reason = decodeHistory(payload, items); !reason.empty()) {
        log.error("Failed to decode history: " + reason);
        return _file->markUnreadable();
    }
    _fileSize = content.size();
    _items.set(std::move(items));
}

bool Store::hasRoomFor(const ClipboardItem& item) const {
    return _fileSize + recordSizeLimit(item) <= _sizeLimit;
}

Bytes Store::sealHistory(Bytes payload) {
    if (EncryptionManager::shared().encryptInPlace(payload, magic.size())) {
        std::ranges::copy(magic, payload.begin());
        return payload;
    }
    log.error("Encryption unavailable — writing history as plaintext");
    payload.erase(payload.begin(), payload.begin() + sealRoom);
    return payload;
}

std::optional<Bytes> Store::sealedItems() {
    Bytes payload(sealRoom);
    if (!encodeHistory(_items.get(), payload)) return std::nullopt;
    _fileSize = payload.size();
    return sealHistory(std::move(payload));
}

void Store::scheduleSave() {
    _hasChanged = true;
    if (_pendingSave) _pendingSave->cancel();
    auto sealed = sealedItems();
    if (!sealed) return;
    _pendingSave = _saveQueue->asyncAfter(
        saveDebounce, [file = _file, content = Data(std::move(*sealed))] { file->write(content); });
}

void Store::saveNow() {
    if (!_hasChanged) return;
    if (_pendingSave) _pendingSave->cancel();
    const auto sealed = sealedItems();
    if (!sealed) return;
    _saveQueue->sync([&] { _file->write(*sealed); });
}

}  // namespace vellumix
