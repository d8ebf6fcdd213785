#include "core/history/HistorySearch.h"

#include "core/history/EncryptionManager.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

HistorySearch& HistorySearch::shared() { return SharedInstances::current().get<HistorySearch>(); }

void HistorySearch::forget() {
    _texts.clear();
    _fileURLs.clear();
}

std::vector<ClipboardItem> HistorySearch::found(const std::vector<ClipboardItem>& items,
                                                ClipboardItem::Kind category, const String& query) {
    query.empty() ? forget() : decipher(items);
    const CaselessText wanted(query);
    std::vector<ClipboardItem> found;
    for (const auto& item : items) {
        if (category != ClipboardItem::Kind::all && item.kind != category) continue;
        if (query.empty() || matches(item, wanted)) found.push_back(item);
    }
    return found;
}

void HistorySearch::decipher(const std::vector<ClipboardItem>& items) {
    std::vector<Deciphered*> missing;
    std::vector<ByteView> blobs;
    const auto need = [&](auto& deciphered, const ClipboardItem& item, const std::optional<Data>& blob) {
        if (!blob) return;
        auto& entry = deciphered[item.id.uuidString()];
        if (entry.blob == *blob) return;
        entry = {*blob, std::nullopt};
        missing.push_back(&entry);
        blobs.push_back(entry.blob);
    };
    for (const auto& item : items) {
        if (!item.locked || !item.isEncrypted) continue;
        need(_texts, item, item.encryptedText);
        need(_fileURLs, item, item.encryptedFileURL);
    }
    const auto texts = EncryptionManager::shared().decryptTexts(blobs);
    for (std::size_t at = 0; at < missing.size(); ++at) missing[at]->text = texts[at];
}

bool HistorySearch::matches(const ClipboardItem& item, const CaselessText& query) const {
    const bool isSealed = item.locked && item.isEncrypted;
    const auto sealed = [&](const auto& deciphered) {
        const auto found = deciphered.find(item.id.uuidString());
        return found == deciphered.end() ? std::nullopt : found->second.text;
    };
    const auto text = isSealed && item.encryptedText ? sealed(_texts) : item._text;
    if (text && query.isIn(*text)) return true;
    auto url = item._fileURL;
    if (isSealed && item.encryptedFileURL) {
        const auto deciphered = sealed(_fileURLs);
        if (auto opened = deciphered ? URL::parse(*deciphered) : std::nullopt) url = std::move(opened);
    }
    return url && query.isIn(url->lastPathComponent());
}

}  // namespace vellumix
