#include "core/history/HistorySearch.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/history/EncryptionManager.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

HistorySearch& HistorySearch::shared() { return SharedInstances::current().get<HistorySearch>(); }

void HistorySearch::forget() {
    texts.clear();
    fileURLs.clear();
    if (answer_.get()) answer_.set(nullptr);
}

std::shared_ptr<const HistorySearch::Items> HistorySearch::found(const Items& items,
                                                                 const Question& question) {
    auto candidates = entriesOf(question.category, items);
    if (question.query.empty()) {
        forget();
        return std::make_shared<const Items>(std::move(candidates));
    }
    const auto last = answer_.get();
    if (last && last->question == question && last->items == items) return last->found;
    decipher(items);
    const CaselessText wanted(question.query);
    std::erase_if(candidates, [&](const ClipboardItem& item) { return !matches(item, wanted); });
    auto found = std::make_shared<const Items>(std::move(candidates));
    answer_.set(std::make_shared<const Answer>(Answer{question, items, found}));
    return found;
}

std::shared_ptr<const HistorySearch::Items> HistorySearch::answer(const Question& question) const {
    const auto& last = answer_.get();
    return last && last->question == question ? last->found : nullptr;
}

void HistorySearch::decipher(const Items& items) {
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
        need(this->texts, item, item.encryptedText);
        need(fileURLs, item, item.encryptedFileURL);
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
    const auto text = isSealed && item.encryptedText ? sealed(texts) : item._text;
    if (text && query.isIn(*text)) return true;
    auto url = item._fileURL;
    if (isSealed && item.encryptedFileURL) {
        const auto deciphered = sealed(fileURLs);
        if (auto opened = deciphered ? URL::parse(*deciphered) : std::nullopt) url = std::move(opened);
    }
    return url && query.isIn(url->lastPathComponent());
}

HistorySearch::Items entriesOf(ClipboardItem::Kind category, const HistorySearch::Items& items) {
    if (category == ClipboardItem::Kind::all) return items;
    HistorySearch::Items entries;
    std::ranges::copy_if(items, std::back_inserter(entries),
                         [&](const ClipboardItem& item) { return item.kind == category; });
    return entries;
}

}  // namespace vellumix
