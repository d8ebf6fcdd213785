#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/history/ClipboardItem.h"
#include "platform/foundation/text/CaselessText.h"

namespace vellumix {

/// Finds entries by what a person types. Main thread only.
///
/// Locked entries are searched too. Their texts are deciphered when a search begins, all of them with one
/// read of the key, and kept until the search ends, so that the keychain isn't asked at each key press; the
/// key itself is kept by nobody. `forget` ends a search.
class HistorySearch {
public:
    static HistorySearch& shared();

    /// The entries of the kind, or of every kind for `all`, in whose text or file name the query is: letter
    /// case is ignored, accents are not, blanks count. An empty query finds all of them, and ends a search.
    std::vector<ClipboardItem> found(const std::vector<ClipboardItem>& items, ClipboardItem::Kind category,
                                     const String& query);
    void forget();

private:
    /// The text of a locked entry, or the name of its file; absent where it can't be deciphered.
    struct Deciphered {
        /// What it was made from: the entry may have been locked anew since.
        Data blob;
        std::optional<String> text;
    };

    void decipher(const std::vector<ClipboardItem>& items);
    bool matches(const ClipboardItem& item, const CaselessText& query) const;

    std::map<std::string, Deciphered> _texts;
    std::map<std::string, Deciphered> _fileURLs;
};

}  // namespace vellumix
